#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QString>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <functional>

class QFileDialog;

/// Calls a function with the next modal dialog that opens while this object
/// lives. Construct it before the call that opens the dialog.
class NextDialog
{
public:
    /// \a answer must close the dialog.
    explicit NextDialog(std::function<void(QWidget *)> answer);
    Q_DISABLE_COPY_MOVE(NextDialog)

    /// Whether a dialog opened.
    bool wasMet() const { return met; }

private:
    QTimer timer;
    bool met = false;
};

/// Calls \a answer with the next modal dialog, which must be a \a Dialog: any
/// other fails the test. Closes the dialog if \a answer leaves it open, so that
/// no test hangs.
template <typename Dialog>
[[nodiscard]] NextDialog onNextDialog(std::function<void(Dialog *)> answer)
{
    return NextDialog([answer](QWidget *widget) {
        if (auto *dialog = qobject_cast<Dialog *>(widget)) {
            answer(dialog);
        } else {
            QTest::qFail(widget->metaObject()->className(), __FILE__, __LINE__);
        }
        if (widget->isVisible()) {
            widget->close();
        }
    });
}

/// Types \a path into \a dialog.
void typePath(QFileDialog *dialog, const QString &path);

/// Types \a path into \a dialog and accepts it.
void choosePath(QFileDialog *dialog, const QString &path);

/// What a message box showed.
struct ShownBox
{
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    const QWidget *parent = nullptr; ///< for comparisons only: it may be gone
};

/// Closes every modal message box that opens while this object lives, by its
/// default button, and records what it showed.
class MessageBoxes : public QObject
{
    Q_OBJECT

public:
    MessageBoxes();

    const QList<ShownBox> &shown() const { return boxes; }

private:
    void closeMessageBox();

    QTimer timer;
    QList<ShownBox> boxes;
};
