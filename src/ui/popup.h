#pragma once

#include <QGridLayout>
#include <QLabel>
#include <QPropertyAnimation>
#include <QWidget>

class QTimer;

/// The toast: a short message that fades in over the center of its parent and fades
/// out three seconds after show(). It takes no focus and does not react to clicks.
class PopUp : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(float popupOpacity READ popupOpacity WRITE setPopupOpacity)

public:
    /// \a parent must not be null: show() reads its geometry.
    explicit PopUp(QWidget *parent);
    ~PopUp() override;

    /// The current opacity, 0 to 1.
    float popupOpacity() const { return m_popupOpacity; }
    void setPopupOpacity(float opacity);

public slots:
    /// Sets the message and adapts the size of the toast to it.
    void setPopupText(const QString &text);

    /// Starts the fade-in and the three seconds, even if a message is shown.
    void show();

    /// Starts the fade-out.
    void hideAnimation();

    /// Hides the toast if its opacity is 0. Called at the end of the fade-in, when it
    /// does nothing, and of the fade-out.
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
