#pragma once

#include "ui/documentview.h"

/// The preview of the output pages, which always takes 0.8 of its width.
class LeftView : public DocumentView
{
    Q_OBJECT

public:
    explicit LeftView(QWidget *parent);

    /// Scales the scene to 0.8 of \a width pixels. Other than in the large
    /// view the transform is set at every call.
    void fitToWidth(double width);

protected:
    void resizeEvent(QResizeEvent *event) override;
};
