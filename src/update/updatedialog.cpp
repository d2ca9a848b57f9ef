#include "update/updatedialog.h"

#include "ui/spokenname.h"
#include "update/notesbrowser.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QSettings>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int iconSize = 64;
constexpr int buttonHeight = 32;

/// A white upward arrow on a blue disc.
QPixmap drawIcon()
{
    QPixmap icon(iconSize, iconSize);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(u"#4A90E2"_s));
    painter.drawEllipse(8, 8, 48, 48);
    painter.setPen(QPen(Qt::white, 3.0));
    painter.drawLine(32, 20, 32, 44);
    painter.drawLine(20, 32, 32, 20);
    painter.drawLine(44, 32, 32, 20);
    return icon;
}

} // namespace

QString releaseHtml(const ReleaseInfo &release)
{
    QString html = u"<h3>%1</h3>"_s.arg(release.title);
    if (!release.releaseDate.isEmpty()) {
        html += u"<p><b>发布日期：</b>%1</p>"_s.arg(release.releaseDate);
    }
    return html + u"<p>%1</p>"_s.arg(release.description);
}

UpdateDialog::UpdateDialog(const ReleaseInfo &offer, QWidget *parent)
    : QDialog(parent)
    , release(offer)
{
    buildLayout();
    applyStyle();
    setWindowTitle(u"Quillmarch 软件更新"_s);
    setAccessibleName(spokenName(windowTitle(), u"Quillmarch software update"_s));
    setFixedSize(500, 400);
}

void UpdateDialog::onDownloadClicked()
{
    QDesktopServices::openUrl(QUrl(release.downloadUrl));
    accept();
}

void UpdateDialog::onRemindLaterClicked()
{
    reject();
}

void UpdateDialog::onSkipVersionClicked()
{
    QSettings().setValue(u"updater/skippedVersion"_s, release.version);
    reject();
}

void UpdateDialog::buildLayout()
{
    titleLabel = new QLabel(u"发现新版本 %1"_s.arg(release.version), this);
    titleLabel->setObjectName(u"titleLabel"_s);
    titleLabel->setTextFormat(Qt::PlainText);
    titleLabel->setAlignment(Qt::AlignCenter);

    iconLabel = new QLabel(this);
    iconLabel->setObjectName(u"iconLabel"_s);
    iconLabel->setAlignment(Qt::AlignCenter);
    iconLabel->setFixedSize(iconSize, iconSize);
    iconLabel->setPixmap(drawIcon());

    notesBrowser = new NotesBrowser(this);
    notesBrowser->setObjectName(u"notesBrowser"_s);
    notesBrowser->showNotes(releaseHtml(release));
    notesBrowser->setMaximumHeight(200);
    notesBrowser->setAccessibleName(spokenName(u"更新内容"_s, u"What's new"_s));

    downloadButton = new QPushButton(u"立即下载"_s, this);
    downloadButton->setObjectName(u"downloadButton"_s);
    downloadButton->setFixedHeight(buttonHeight);
    connect(downloadButton, &QPushButton::clicked, this, &UpdateDialog::onDownloadClicked);
    remindLaterButton = new QPushButton(u"稍后提醒"_s, this);
    remindLaterButton->setObjectName(u"remindLaterButton"_s);
    remindLaterButton->setFixedHeight(buttonHeight);
    connect(remindLaterButton, &QPushButton::clicked, this, &UpdateDialog::onRemindLaterClicked);
    skipVersionButton = new QPushButton(u"跳过此版本"_s, this);
    skipVersionButton->setObjectName(u"skipVersionButton"_s);
    skipVersionButton->setFixedHeight(buttonHeight);
    connect(skipVersionButton, &QPushButton::clicked, this, &UpdateDialog::onSkipVersionClicked);

    auto *buttonRow = new QWidget(this);
    buttonRow->setObjectName(u"buttonRow"_s);
    auto *buttonLayout = new QHBoxLayout(buttonRow);
    buttonLayout->addWidget(skipVersionButton);
    buttonLayout->addStretch();
    buttonLayout->addWidget(remindLaterButton);
    buttonLayout->addWidget(downloadButton);

    auto *mainLayout = new QVBoxLayout(this);
    mainLayout->setContentsMargins(40, 20, 40, 20);
    mainLayout->setSpacing(15);
    mainLayout->addWidget(titleLabel);
    mainLayout->addWidget(iconLabel);
    mainLayout->addWidget(notesBrowser, 1);
    mainLayout->addWidget(buttonRow);
}

void UpdateDialog::applyStyle()
{
    QFont dialogFont = font();
    dialogFont.setPointSize(14);
    setFont(dialogFont);

    setAutoFillBackground(true);
    QPalette colors = palette();
    colors.setBrush(QPalette::Window, QBrush(QColor(u"#ECECEC"_s)));
    setPalette(colors);

    QFont titleFont = titleLabel->font();
    titleFont.setPointSize(16);
    titleFont.setWeight(QFont::Bold);
    titleLabel->setFont(titleFont);

    downloadButton->setStyleSheet(uR"(
QPushButton { background-color: #4A90E2; color: white; border: none; border-radius: 4px; padding: 6px 20px; }
QPushButton:hover { background-color: #357ABD; }
QPushButton:pressed { background-color: #2968A3; }
)"_s);
    const QString quietStyle = uR"(
QPushButton { background-color: #E0E0E0; color: #333; border: none; border-radius: 4px; padding: 6px 16px; }
QPushButton:hover { background-color: #D0D0D0; }
)"_s;
    remindLaterButton->setStyleSheet(quietStyle);
    skipVersionButton->setStyleSheet(quietStyle);
}
