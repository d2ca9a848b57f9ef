#include "update/downloadupdatedialog.h"

#include "base/buildconfig.h"
#include "ui/screendensity.h"
#include "ui/spokenname.h"
#include "update/downloaddialogsizes.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize buttonSize(100, 36);
constexpr qsizetype longestNotes = 300;
constexpr qsizetype longestLine = 50;
constexpr qsizetype shortenedLine = 47;
constexpr qsizetype longestChecksum = 16;
constexpr qsizetype checksumEnd = 8;

QString shortChecksum(const QString &checksum)
{
    if (checksum.isEmpty()) {
        return DownloadUpdateDialog::tr("无校验信息");
    }
    if (checksum.size() <= longestChecksum) {
        return checksum;
    }
    return checksum.left(checksumEnd) + u"..."_s + checksum.right(checksumEnd);
}

QString shortNotes(const QString &notes)
{
    if (notes.isEmpty()) {
        return DownloadUpdateDialog::tr("• 性能优化\n• 稳定性提升\n• 用户体验改进");
    }
    const QString cut = notes.size() > longestNotes ? notes.left(longestNotes) + u"..."_s : notes;
    QStringList lines = cut.split(u'\n');
    for (QString &line : lines) {
        if (line.size() > longestLine) {
            line = line.left(shortenedLine) + u"..."_s;
        }
    }
    return lines.join(u'\n');
}

QLabel *makeLabel(const QString &text, const QString &style, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText); // or HTML in a report could have files of the user shown
    label->setStyleSheet(style);
    return label;
}

QPushButton *makeButton(const QString &text, QWidget *parent)
{
    auto *button = new QPushButton(text, parent);
    button->setFixedSize(buttonSize);
    return button;
}

} // namespace

void DownloadUpdateDialog::setupUi()
{
    const int margin = downloadDialogMargin(screenDensity());
    mainLayout = new QVBoxLayout(this);
    mainLayout->setSpacing(12);
    mainLayout->setContentsMargins(margin, margin, margin, margin);
    addVersionLabels();
    addNotes();
    addProgress();
    addStatus();
    addButtons();
}

void DownloadUpdateDialog::addVersionLabels()
{
    const QString lineStyle = u"font-size: 13pt; color: #48484a; margin-bottom: 4px;"_s;
    titleLabel = makeLabel(request.isForced ? tr("重要更新通知") : tr("发现新版本"),
                           u"font-size: 18pt; font-weight: 600; color: #1d1d1f; margin-bottom: 8px;"_s, this);
    subtitleLabel = makeLabel(tr("Quillmarch %1 现已可用！").arg(request.latestVersion),
                              u"font-size: 15pt; font-weight: 500; color: #1d1d1f; margin-bottom: 16px;"_s, this);
    setAccessibleName(spokenName(titleLabel->text(), // for want of a window title
                                 request.isForced ? u"Important update"_s : u"New version available"_s));
    QLabel *currentVersionLabel = makeLabel(tr("当前版本：%1").arg(programVersion), lineStyle, this);
    fileSizeLabel = makeLabel(tr("文件大小：%1").arg(request.fileSize.isEmpty() ? tr("计算中...") : request.fileSize),
                              lineStyle, this);
    checksumLabel = makeLabel(tr("MD5校验：%1").arg(shortChecksum(request.checksumMD5)),
                              u"font-size: 13pt; color: #48484a; margin-bottom: 16px; font-family: monospace;"_s, this);
    for (QLabel *label : {titleLabel, subtitleLabel, currentVersionLabel, fileSizeLabel, checksumLabel}) {
        mainLayout->addWidget(label);
    }
}

void DownloadUpdateDialog::addNotes()
{
    QLabel *heading =
        makeLabel(tr("更新内容："), u"font-size: 13pt; font-weight: 500; color: #1d1d1f; margin-bottom: 8px;"_s, this);
    mainLayout->addWidget(heading);

    auto *scrollArea = new QScrollArea(this);
    scrollArea->setAccessibleName(spokenName(heading->text(), u"What's new"_s));
    scrollArea->setWidgetResizable(true);
    scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrollArea->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    scrollArea->setFrameShape(QFrame::NoFrame);
    scrollArea->setMinimumHeight(100);
    scrollArea->setMaximumHeight(120);
    for (QWidget *widget : {static_cast<QWidget *>(scrollArea), scrollArea->viewport()}) {
        widget->setAttribute(Qt::WA_OpaquePaintEvent, false);
        widget->setAttribute(Qt::WA_NoSystemBackground, true);
    }
    scrollArea->setStyleSheet(uR"(
QScrollArea { background-color: #f5f5f5; border-radius: 8px; border: 1px solid #e5e5e7; }
QScrollBar:vertical { width: 12px; background: transparent; }
QScrollBar::handle:vertical { background-color: #c0c0c0; border-radius: 6px; min-height: 20px; margin: 2px; }
QScrollBar::handle:vertical:hover { background-color: #a0a0a0; }
QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0px; }
QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: none; }
)"_s);

    updateLogLabel =
        makeLabel(shortNotes(request.updateLog),
                  u"font-size: 13pt; color: #48484a; background-color: transparent; padding: 12px;"_s, scrollArea);
    updateLogLabel->setWordWrap(true);
    updateLogLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    scrollArea->setWidget(updateLogLabel);
    mainLayout->addWidget(scrollArea);
}

void DownloadUpdateDialog::addProgress()
{
    auto *container = new QWidget(this);
    // The leading dot keeps the rule off the widgets inside.
    container->setStyleSheet(
        u".QWidget { background-color: #f8f9fa; border-radius: 8px; border: 1px solid #e9ecef; padding: 12px; }"_s);
    progressLayout = new QHBoxLayout(container);
    progressLayout->setContentsMargins(0, 16, 0, 8);

    progressBar = new QProgressBar(container);
    progressBar->setFixedHeight(8);
    progressBar->setTextVisible(false);
    progressBar->setAccessibleName(spokenName(u"下载进度"_s, u"Download progress"_s));
    progressBar->setValue(0);
    progressBar->setStyleSheet(uR"(
QProgressBar { border: none; border-radius: 4px; background-color: #f5f5f5; }
QProgressBar::chunk { border-radius: 4px; background-color: #007aff; }
)"_s);
    progressLayout->addWidget(progressBar, 1);
    progressLayout->addWidget(makeLabel(tr("0%"), u"font-size: 13pt; color: #48484a;"_s, container));
    container->hide();
    mainLayout->addWidget(container);
}

void DownloadUpdateDialog::addStatus()
{
    statusLabel = makeLabel(tr("准备下载..."), u"font-size: 13pt; color: #48484a;"_s, this);
    speedLabel = makeLabel(QString(), u"font-size: 13pt; color: #8e8e93;"_s, this);
    speedLabel->hide();
    statusLayout = new QHBoxLayout;
    statusLayout->setContentsMargins(0, 0, 0, 16);
    statusLayout->addWidget(statusLabel);
    statusLayout->addStretch();
    statusLayout->addWidget(speedLabel);
    mainLayout->addLayout(statusLayout);

    fileLocationLabel = makeLabel(QString(), u"font-size: 12pt; color: #8e8e93;"_s, this);
    fileLocationLabel->setWordWrap(true);
    fileLocationLabel->hide();
    mainLayout->addWidget(fileLocationLabel);
}

void DownloadUpdateDialog::addButtons()
{
    skipButton = makeButton(tr("跳过此版本"), this);
    laterButton = makeButton(tr("稍后提醒"), this);
    updateButton = makeButton(tr("立即更新"), this);
    updateButton->setObjectName(u"primaryButton"_s);
    updateButton->setDefault(true);
    openFolderButton = makeButton(tr("打开文件夹"), this);
    closeButton = makeButton(tr("关闭"), this);
    retryButton = makeButton(tr("重试"), this);
    connect(skipButton, &QPushButton::clicked, this, &DownloadUpdateDialog::onSkipClicked);
    connect(laterButton, &QPushButton::clicked, this, &DownloadUpdateDialog::onLaterClicked);
    connect(updateButton, &QPushButton::clicked, this, &DownloadUpdateDialog::onUpdateClicked);
    connect(openFolderButton, &QPushButton::clicked, this, &DownloadUpdateDialog::openDownloadFolder);
    connect(closeButton, &QPushButton::clicked, this, &DownloadUpdateDialog::onCloseClicked);
    connect(retryButton, &QPushButton::clicked, this, &DownloadUpdateDialog::onUpdateClicked);

    buttonLayout = new QHBoxLayout;
    buttonLayout->setSpacing(12);
    buttonLayout->setContentsMargins(0, 8, 0, 0);
    buttonLayout->addStretch();
    for (QPushButton *button : {skipButton, laterButton, updateButton, openFolderButton, closeButton}) {
        buttonLayout->addWidget(button);
    }
    buttonLayout->addStretch();
    mainLayout->addLayout(buttonLayout);

    if (request.isForced) { // setHidden(false) would take the style sheet into account too early
        skipButton->hide();
        laterButton->hide();
    }
    openFolderButton->hide();
    closeButton->hide();
    retryButton->hide(); // a repeat goes through the update button
}

void DownloadUpdateDialog::applyStyle()
{
    setStyleSheet(uR"(
QDialog { background-color: #F5F5F5; border: 1px solid #d0d0d0; }
QPushButton { background-color: #f0f0f0; color: #333; border: 1px solid #ccc; border-radius: 4px; padding: 8px 16px;
    font-size: 11pt; text-align: center; min-width: 80px; }
QPushButton:hover { background-color: #e0e0e0; border-color: #999; }
QPushButton:pressed { background-color: #d0d0d0; }
QPushButton:disabled { background-color: #F7F9FA; color: #BDC3C7; border-color: #E5E8E8; }
#primaryButton { background-color: #007aff; color: white; border: 1px solid #007aff; font-weight: 600; }
#primaryButton:hover { background-color: #0056cc; border-color: #0056cc; }
#primaryButton:pressed { background-color: #004999; border-color: #004999; }
)"_s);
}

void DownloadUpdateDialog::placeOnScreen()
{
    setFixedSize(downloadDialogSize(screenDensity()));
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        const QSize room = screen->availableGeometry().size();
        move((room.width() - width()) / 2, (room.height() - height()) / 2);
    }
}
