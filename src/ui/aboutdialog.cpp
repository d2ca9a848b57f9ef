#include "ui/aboutdialog.h"

#include "base/buildconfig.h"
#include "ui/screendensity.h"
#include "ui/spokenname.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr double highestDensity = 1.6;
constexpr int logoHeight = 60;
constexpr int emptyLogoHeight = 20;

/// \a base points, growing with the screen's density up to \a most.
double limited(double base, double most)
{
    const double density = screenDensity().value_or(1.0);
    if (density > highestDensity) {
        return most;
    }
    return density > 1.0 ? std::min(density * base, most) : base;
}

int okButtonHeight()
{
    const double density = screenDensity().value_or(1.0);
    if (density > highestDensity) {
        return 40;
    }
    return density > 1.0 ? std::clamp(int(density * 34.0 + 0.5), 32, 40) : 34;
}

double lineHeight()
{
    return std::clamp(screenDensity().value_or(1.0), 1.0, highestDensity) * 1.2;
}

void setPointSize(QWidget *widget, double size)
{
    QFont font = widget->font();
    font.setPointSizeF(size);
    widget->setFont(font);
}

/// The description, which is Chinese in every language.
QString description()
{
    return u"智能识别长图片最佳分页点，一键转多页 PDF；支持单/双栏布局、300DPI "
           u"高质量输出，全部在本地处理，隐私安全。<br/><br/>"
           u"<b>主要功能：</b><br/>"
           u"• 智能分页：避免在文字/对话中间断开<br/>"
           u"• 双栏布局：一页显示 4 个页面，节省纸张<br/>"
           u"• 多格式：PNG/JPG/JPEG/GIF/BMP → PDF<br/>"
           u"• 本地处理：0 服务器上传，保护隐私<br/><br/>"_s
        + u"在线使用：<a href=\"%1\">%1</a><br/><br/>"_s.arg(webSite) + u"联系我们：%1<br/>"_s.arg(contactHandle);
}

} // namespace

AboutDialog::AboutDialog(QWidget *parent)
    : QDialog(parent)
    , language(u"zh"_s)
{
    setWindowTitle(tr("关于"));
    setAccessibleName(spokenName(windowTitle(), u"About"_s));
    setModal(true);
    setFixedSize(480, 480);
    setPointSize(this, limited(10, 11));
    applyStyle();
    createWidgets();
    layOutWidgets();
    connect(okButton, &QPushButton::clicked, this, &AboutDialog::onOkClicked);
}

void AboutDialog::setLanguage(const QString &code)
{
    language = code;
    if (language != "en"_L1) {
        logoLabel->clear();
        logoLabel->setMinimumHeight(emptyLogoHeight);
        return;
    }
    logoLabel->setMinimumHeight(logoHeight); // a crowded dialog would cut the logo to less
    const QPixmap logo(u":/images/sitelogo.png"_s);
    if (!logo.isNull()) {
        logoLabel->setPixmap(logo.scaled(120, logoHeight, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    }
}

void AboutDialog::onOkClicked()
{
    accept();
}

void AboutDialog::applyStyle()
{
    QFont dialogFont = font();
    dialogFont.setPointSize(14); // takes the place of the size that follows the screen
    setFont(dialogFont);
    setAutoFillBackground(true);
    QPalette colors = palette();
    colors.setBrush(QPalette::All, QPalette::Window, QColor(236, 236, 236));
    setPalette(colors);
    setStyleSheet(uR"(
        QDialog {
            background-color: #F5F5F5;
        }

        QLabel {
            color: #2C3E50;
        }

        QPushButton {
            font-size: 12pt;
            border-radius: 4px;
            padding: 6px 16px;
        }

        QPushButton:hover {
            opacity: 0.9;
        }

        QPushButton:pressed {
            opacity: 0.8;
        }
    )"_s);
}

void AboutDialog::createWidgets()
{
    titleLabel = new QLabel(tr("Quillmarch - 墨舟卷轴翻页器"), this);
    titleLabel->setObjectName("titleLabel"_L1);
    QFont titleFont = titleLabel->font();
    titleFont.setPointSizeF(limited(13, 14));
    titleFont.setWeight(QFont::Bold);
    titleLabel->setFont(titleFont);
    titleLabel->setAlignment(Qt::AlignCenter);
    titleLabel->setMinimumHeight(40);

    aboutVersionLabel = new QLabel(tr("版本 %1").arg(programVersion), this);
    aboutVersionLabel->setObjectName("aboutVersionLabel"_L1);
    setPointSize(aboutVersionLabel, limited(9.5, 10.5));
    aboutVersionLabel->setAlignment(Qt::AlignCenter);
    aboutVersionLabel->setStyleSheet(u"QLabel { color: #666; }"_s);

    logoLabel = new QLabel(this);
    logoLabel->setObjectName("logoLabel"_L1);
    logoLabel->setAccessibleName(u"Quillmarch"_s);
    logoLabel->setAlignment(Qt::AlignCenter);
    logoLabel->setMinimumHeight(logoHeight);
    setLanguage(language);

    infoLabel = new QLabel(description(), this);
    infoLabel->setObjectName("infoLabel"_L1);
    setPointSize(infoLabel, limited(9.5, 10.5));
    infoLabel->setTextFormat(Qt::RichText);
    infoLabel->setOpenExternalLinks(true);
    infoLabel->setWordWrap(true);
    infoLabel->setAlignment(Qt::AlignLeft);
    infoLabel->setStyleSheet(u"QLabel { line-height: %1; }"_s.arg(lineHeight(), 0, 'g'));

    okButton = new QPushButton(tr("确定"), this);
    okButton->setObjectName("okButton"_L1);
    okButton->setFixedSize(80, okButtonHeight());
    okButton->setDefault(true);
    okButton->setStyleSheet(
        u"QPushButton {     background-color: #4A90E2;     color: white;     border: none;     border-radius: 4px;   "
        u"  padding: 6px 20px; }QPushButton:hover {     background-color: #357ABD; }QPushButton:pressed {     "
        u"background-color: #2968A3; }"_s);
}

void AboutDialog::layOutWidgets()
{
    auto *buttonRow = new QWidget(this);
    auto *buttonLayout = new QHBoxLayout(buttonRow);
    buttonLayout->setContentsMargins(0, 0, 0, 0);
    buttonLayout->setSpacing(12);
    buttonLayout->addStretch(0);
    buttonLayout->addWidget(okButton);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(40, 20, 40, 20);
    layout->setSpacing(15);
    layout->addWidget(titleLabel);
    layout->addWidget(aboutVersionLabel);
    layout->addWidget(logoLabel);
    layout->addSpacing(10);
    layout->addWidget(infoLabel);
    layout->addStretch(1);
    layout->addWidget(buttonRow);
}
