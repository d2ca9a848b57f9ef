#pragma once

#include "ui/documentview.h"

/// The large view of the strips. Its zoom is the share of the viewport's width
/// that the scene takes.
class MainView : public DocumentView
{
    Q_OBJECT

public:
    explicit MainView(QWidget *parent);

    /// The share of the viewport's width that the scene takes; initially 0.75.
    double fitRatio() const { return m_fitRatio; }

    /// Stores \a ratio unchecked; it takes effect at the next fitToWidth().
    void setFitRatio(const double &ratio) { m_fitRatio = ratio; }

    /// Scales the scene to `fitRatio` of \a width pixels. Does not set an equal
    /// transform again, so that the scroll position stays.
    void fitToWidth(double width);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    double fittedScale(double width) const;

    double m_fitRatio = 0.75;
};
