#pragma once

#include <QGridLayout>
#include <QLabel>
#include <QPropertyAnimation>
#include <QWidget>

class QTimer;

/// The toast: a short message that fades in over the centre of its parent,
/// stands until three seconds after show() and fades out. It takes no focus
/// and no click.
class PopUp : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(float popupOpacity READ popupOpacity WRITE setPopupOpacity)

public:
    /// \a parent must be given: show() reads its geometry.
    explicit PopUp(QWidget *parent);
    ~PopUp() override;

    /// The present opacity, 0 to 1.
    float popupOpacity() const { return m_popupOpacity; }
    void setPopupOpacity(float opacity);

public slots:
    /// Sets the message and takes the size that it needs.
    void setPopupText(const QString &text);

    /// Starts the fade-in and the three seconds, also while a message stands.
    void show();

    /// Starts the fade-out.
    void hideAnimation();

    /// Hides the toast if its opacity is 0: the end of the fade-out, as
    /// opposed to the end of the fade-in.
    void hide();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void fade(int milliseconds, double from, double to);

    QLabel label;
    QGridLayout m_layout;
    QPropertyAnimation animation;
    float m_popupOpacity = 0.0F;
    QTimer *timer = nullptr;
};
