#include "update/updatedialog.h"

#include "ui/spokenname.h"

#include <QBuffer>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QImage>
#include <QImageReader>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTextBrowser>
#include <QTextDocument>
#include <QTextFrame>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int iconSize = 64;
constexpr int buttonHeight = 32;
constexpr int deepestTables = 8;
constexpr int mostTags = 2000;
constexpr qint64 mostPixels = 4096 * 4096; // of a picture in the notes

/// A white arrow that points up, on a blue disc.
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

/// How many frames, such as tables, lie in each other below \a frame at most.
int depthOf(const QTextFrame *frame)
{
    int deepest = 0;
    const QList<QTextFrame *> inner = frame->childFrames();
    for (const QTextFrame *child : inner) {
        deepest = std::max(deepest, 1 + depthOf(child));
    }
    return deepest;
}

/// What a data address (RFC 2397) holds.
QByteArray dataOf(const QUrl &address)
{
    const QByteArray text =
        QByteArray::fromPercentEncoding(address.url(QUrl::FullyEncoded | QUrl::RemoveScheme).toLatin1());
    const qsizetype comma = text.indexOf(',');
    const QByteArray data = text.mid(comma + 1);
    return text.left(comma).endsWith(";base64") ? QByteArray::fromBase64(data) : data;
}

/// The picture that is stored in \a bytes, if it is of a kind that cannot name
/// a file itself, as SVG can, and not so large that it would fill the memory.
QImage decodePixels(const QByteArray &bytes)
{
    static const QByteArrayList kinds{"bmp", "gif", "jpeg", "png", "webp"};
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    const bool isBearable = size.isValid() && qint64(size.width()) * size.height() <= mostPixels;
    return isBearable && kinds.contains(reader.format()) ? reader.read() : QImage();
}

/// Shows notes that came over the network. HTML in them may bring a picture
/// along in a data address, but name no file: neither is a file of the user
/// the document's business, nor does each one have an end.
class NotesBrowser : public QTextBrowser
{
public:
    using QTextBrowser::QTextBrowser;

    /// Shows \a html, or only the text of it if that would take too long: each
    /// table inside another doubles the time of the layout, and that of reading
    /// grows with the square of the number of tags.
    void showNotes(const QString &html)
    {
        if (html.count(u'<') > mostTags) {
            static const QRegularExpression tag(u"<[^>]*>"_s);
            setPlainText(QString(html).remove(tag));
            return;
        }
        QTextDocument parsed(this); // loads by this browser, and has no layout
        parsed.setHtml(html);
        if (depthOf(parsed.rootFrame()) > deepestTables) {
            setPlainText(parsed.toPlainText());
        } else {
            setHtml(html);
        }
    }

protected:
    QVariant loadResource(int type, const QUrl &name) override
    {
        if (type != QTextDocument::ImageResource) {
            return QByteArray("");
        }
        QImage image;
        if (name.scheme() == "data"_L1) {
            image = decodePixels(dataOf(name));
        }
        if (image.isNull()) {
            image = QImage(1, 1, QImage::Format_ARGB32); // for none at all the toolkit would read the file itself
            image.fill(Qt::transparent);
        }
        return image;
    }

    // A link leads nowhere: what it names would take the place of the notes.
    void doSetSource(const QUrl &, QTextDocument::ResourceType) override {}
};

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
    titleLabel->setTextFormat(Qt::PlainText);
    titleLabel->setAlignment(Qt::AlignCenter);

    iconLabel = new QLabel(this);
    iconLabel->setAlignment(Qt::AlignCenter);
    iconLabel->setFixedSize(iconSize, iconSize);
    iconLabel->setPixmap(drawIcon());

    auto *browser = new NotesBrowser(this);
    browser->showNotes(releaseHtml(release));
    notesBrowser = browser;
    notesBrowser->setMaximumHeight(200);
    notesBrowser->setAccessibleName(spokenName(u"更新内容"_s, u"What's new"_s));

    downloadButton = new QPushButton(u"立即下载"_s, this);
    downloadButton->setFixedHeight(buttonHeight);
    connect(downloadButton, &QPushButton::clicked, this, &UpdateDialog::onDownloadClicked);
    remindLaterButton = new QPushButton(u"稍后提醒"_s, this);
    remindLaterButton->setFixedHeight(buttonHeight);
    connect(remindLaterButton, &QPushButton::clicked, this, &UpdateDialog::onRemindLaterClicked);
    skipVersionButton = new QPushButton(u"跳过此版本"_s, this);
    skipVersionButton->setFixedHeight(buttonHeight);
    connect(skipVersionButton, &QPushButton::clicked, this, &UpdateDialog::onSkipVersionClicked);

    auto *buttonRow = new QWidget(this);
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
    QPalette colours = palette();
    colours.setBrush(QPalette::Window, QBrush(QColor(u"#ECECEC"_s)));
    setPalette(colours);

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
