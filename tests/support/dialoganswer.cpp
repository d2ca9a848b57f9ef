#include "support/dialoganswer.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

NextDialog::NextDialog(std::function<void(QWidget *)> answer)
{
    QObject::connect(&timer, &QTimer::timeout, &timer, [this, answer = std::move(answer)] {
        if (QWidget *dialog = QApplication::activeModalWidget()) {
            timer.stop();
            met = true;
            answer(dialog);
        }
    });
    timer.start(0);
}

void typePath(QFileDialog *dialog, const QString &path)
{
    dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
}

void choosePath(QFileDialog *dialog, const QString &path)
{
    typePath(dialog, path);
    static_cast<QDialog *>(dialog)->accept(); // QFileDialog hides it
}

MessageBoxes::MessageBoxes()
{
    connect(&timer, &QTimer::timeout, this, &MessageBoxes::closeMessageBox);
    timer.start(5);
}

void MessageBoxes::closeMessageBox()
{
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!box || !box->isVisible()) {
        return;
    }
    boxes.append({box->icon(), box->windowTitle(), box->text(), box->standardButtons(), box->parentWidget()});
    if (box->defaultButton()) {
        box->defaultButton()->click();
    } else {
        box->close();
    }
}
