#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QString>
#include <QTimer>

/// What a message box showed.
struct ShownBox
{
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    const QWidget *parent = nullptr; ///< only to compare with
};

/// Closes every modal message box that appears while this object lives, by
/// its default button, and keeps what it showed.
class MessageBoxes : public QObject
{
    Q_OBJECT

public:
    MessageBoxes();

    const QList<ShownBox> &shown() const { return boxes; }

private:
    void look();

    QTimer timer;
    QList<ShownBox> boxes;
};
