#pragma once

#include <QSplitter>

/// A splitter with a narrow handle that paints itself; its widgets cannot be
/// collapsed.
class CustomSplitter : public QSplitter
{
    Q_OBJECT

public:
    explicit CustomSplitter(QWidget *parent = nullptr);
    explicit CustomSplitter(Qt::Orientation orientation, QWidget *parent = nullptr);

protected:
    QSplitterHandle *createHandle() override;
};

/// The handle of CustomSplitter. It looks different at rest, under the pointer and
/// while pressed; all three looks assume a vertical bar.
class CustomSplitterHandle : public QSplitterHandle
{
    Q_OBJECT

public:
    CustomSplitterHandle(Qt::Orientation orientation, QSplitter *parent);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void paintNormal(QPainter *painter) const;
    void paintHover(QPainter *painter) const;
    void paintPressed(QPainter *painter) const;

    bool hovered = false;
    bool pressed = false;
};
