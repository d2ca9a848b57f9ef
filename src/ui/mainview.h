#pragma once

#include "ui/documentview.h"

/// The large view of the strips. Its zoom is the share of the viewport's width
/// that the scene takes.
class MainView : public DocumentView
{
    Q_OBJECT

public:
    explicit MainView(QWidget *parent);

    /// The share of the viewport's width that the scene takes; 0.75 at first.
    double fitRatio() const { return m_fitRatio; }

    /// Stores \a ratio as it is; takes effect at the next fit.
    void setFitRatio(const double &ratio) { m_fitRatio = ratio; }

    /// Scales the scene to `fitRatio` of \a width pixels. Leaves an equal
    /// transform alone, so that the scroll position stays.
    void fitToWidth(double width);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    double fittedScale(double width) const;

    double m_fitRatio = 0.75;
};
