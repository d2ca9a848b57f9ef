#include "support/messageboxes.h"

#include <QApplication>
#include <QPushButton>

MessageBoxes::MessageBoxes()
{
    connect(&timer, &QTimer::timeout, this, &MessageBoxes::look);
    timer.start(5);
}

void MessageBoxes::look()
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
