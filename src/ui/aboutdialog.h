#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

/// The modal dialog about the program, of fixed size. It shows the logo in English
/// only.
class AboutDialog : public QDialog
{
    Q_OBJECT

public:
    explicit AboutDialog(QWidget *parent);

    /// Shows the logo if \a code is exactly "en", otherwise none.
    void setLanguage(const QString &code);

public slots:
    void onOkClicked();

private:
    void applyStyle();
    void createWidgets();
    void layOutWidgets();

    QLabel *titleLabel = nullptr;
    QLabel *aboutVersionLabel = nullptr;
    QLabel *infoLabel = nullptr;
    QLabel *logoLabel = nullptr;
    QPushButton *okButton = nullptr;
    QString language;
};
