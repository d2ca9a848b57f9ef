#include "app/settings.h"
#include "output/previewitem.h"
#include "support/testmain.h"
#include "ui/aboutdialog.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/screendensity.h"
#include "ui/windowaccess.h"
#include "ui/windowstore.h"

#include <QActionGroup>
#include <QDialog>
#include <QGraphicsScene>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>

#include <set>

using namespace Qt::StringLiterals;

namespace {

struct Row
{
    const char *name;
    const char *text;
    const char *english; // empty if there is no translation
    const char *shortcut;
    const char *statusTip;
    const char *englishStatusTip; // empty if there is no translation
    bool hasIcon;
    bool enabled; // at the start
};

// In order of creation.
constexpr Row rows[]{
    {"guideAction", "指南", "FAQ", "Ctrl+H", "打开软件使用指南", "Open FAQ window", true, true},
    {"decreaseMarginAction", "减少边距", "Decrease margins", "", "放大图片减少打印边距",
     "Enlarge image to decrease print margins", true, false},
    {"increaseMarginAction", "增加边距", "Increase margins", "", "缩小图片增加打印边距",
     "Reduce image size to increase print margins", true, false},
    {"zoomInAction", "放大", "Zoom in", "", "放大画布显示更多细节", "Zoom in the canvas to show more details", true,
     false},
    {"zoomOutAction", "缩小", "Zoom out", "", "缩小画布显示更多图片", "Zoom out the canvas to show more images", true,
     false},
    {"openAction", "打开文件", "Open", "Ctrl+O", "打开需要处理的长图片文件", "Open an image file", true, true},
    {"exportPdfAction", "导出为PDF", "", "Ctrl+S", "导出到PDF文件", "Save paginated images to a PDF file", true, false},
    {"printAction", "打印", "Print", "Ctrl+P", "输出到打印机", "Print paginated images", true, false},
    {"exitAction", "退出", "Exit", "Ctrl+X", "关闭窗口退出应用程序", "Exit the application", false, true},
    {"twoColsAction", "双排", "Switch layout", "", "页面单/双排输出切换",
     "Switch layout between single page and double columns", true, false},
    {"pageNumAction", "页码", "Page number", "", "页码显示输出切换", "Turn on/off of page number display", true, false},
    {"autoTrimAction", "自动切边", "", "", "去除原图四周空白并重新处理", "", true, false},
    {"aboutAction", "关于", "", "", "", "", true, true},
};

const QStringList documentActions{
    u"exportPdfAction"_s, u"printAction"_s,   u"decreaseMarginAction"_s, u"increaseMarginAction"_s, u"zoomInAction"_s,
    u"zoomOutAction"_s,   u"twoColsAction"_s, u"pageNumAction"_s,        u"autoTrimAction"_s,
};

QString utf8(const char *text)
{
    return QString::fromUtf8(text);
}

/// The object names of \a actions, with a dash for a separator.
QStringList namesOf(const QList<QAction *> &actions)
{
    QStringList names;
    for (const QAction *action : actions) {
        names.append(action->isSeparator() ? u"-"_s : action->objectName());
    }
    return names;
}

QStringList enabledActions(const MainWindow &window)
{
    QStringList names;
    for (const QAction *action : window.findChildren<QAction *>(Qt::FindDirectChildrenOnly)) {
        if (action->isEnabled()) {
            names.append(action->objectName());
        }
    }
    return names;
}

/// The member of a window that holds its action for the trim. It is private, but
/// an explicit instantiation may name it.
QAction *MainWindow::*trimMember();

template <QAction *MainWindow::*member>
struct TrimMember
{
    friend QAction *MainWindow::*trimMember() { return member; }
};

template struct TrimMember<&MainWindow::autoTrimAction>;

void addLanguages()
{
    QTest::addColumn<bool>("english");
    QTest::newRow("Chinese") << false;
    QTest::newRow("English") << true;
}

} // namespace

class TestActions : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(hasRequestedDensity()); }
    void init() { forgetEverything(); }

    void createsActionsInOrder();
    void actionHasItsTexts_data();
    void actionHasItsTexts();
    void shortcutsAreUnique();
    void buildsTheMenus_data() { addLanguages(); }
    void buildsTheMenus();
    void guideIsInNoMenuOrToolBar();
    void buildsOneToolBar_data() { addLanguages(); }
    void buildsOneToolBar();
    void iconSizeDependsOnTheDensity();
    void toolButtonsAreLargeEnough();
    void leadsToTheCommandsWithoutRoom();
    void iconSizeHasThreeSteps_data();
    void iconSizeHasThreeSteps();

    void firstDocumentEnablesActionsInOrder();
    void worksWithoutTheTrimAction();
    void rejectedFilesEnableNothing();
    void actionsStayEnabled();
    void shortcutsTriggerOnlyEnabledActions();

    void marginActionsStepTheMargin();
    void zoomActionsStepTheRatio();
    void fileActionsOpenADialog_data();
    void fileActionsOpenADialog();
    void exitClosesTheWindow();
    void twoColsSwitchesTheScene();
    void pageNumSwitchesPageNumbers();
    void autoTrimRemovesTheBorder();
    void guideDoesNothing();
    void aboutOpensTheDialogOverTheWindow_data() { addLanguages(); }
    void aboutOpensTheDialogOverTheWindow();
};

void TestActions::createsActionsInOrder()
{
    const MainWindow window;
    QStringList expected;
    for (const Row &row : rows) {
        expected.append(utf8(row.name));
    }
    QCOMPARE(namesOf(window.findChildren<QAction *>(Qt::FindDirectChildrenOnly)), expected);
    QVERIFY(window.findChildren<QActionGroup *>().isEmpty());
}

void TestActions::actionHasItsTexts_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("english");
    for (int i = 0; i < int(std::size(rows)); ++i) {
        QTest::addRow("%s in Chinese", rows[i].name) << i << false;
        QTest::addRow("%s in English", rows[i].name) << i << true;
    }
}

void TestActions::actionHasItsTexts()
{
    QFETCH(int, index);
    QFETCH(bool, english);
    const Row &row = rows[index];
    std::unique_ptr<EnglishCatalogue> catalogue;
    if (english) {
        catalogue = std::make_unique<EnglishCatalogue>();
        QVERIFY(catalogue->isLoaded());
    }
    const MainWindow window;
    const QAction *action = actionOf(window, row.name);
    QVERIFY(action);
    QCOMPARE(action->parent(), &window);
    QCOMPARE(action->text(), utf8(english && *row.english ? row.english : row.text));
    QCOMPARE(action->statusTip(), utf8(english && *row.englishStatusTip ? row.englishStatusTip : row.statusTip));
    QCOMPARE(action->shortcut(), QKeySequence(utf8(row.shortcut), QKeySequence::PortableText));
    QCOMPARE(action->shortcuts().size(), *row.shortcut ? 1 : 0);
    QCOMPARE(action->icon().isNull(), !row.hasIcon);
    QCOMPARE(action->isEnabled(), row.enabled);
    QVERIFY(!action->isCheckable());
    QVERIFY(action->isVisible());
    QCOMPARE(window.windowTitle(), u"墨舟卷轴翻页器"_s);
}

void TestActions::shortcutsAreUnique()
{
    const MainWindow window;
    std::set<QString> seen;
    for (const QAction *action : window.findChildren<QAction *>()) {
        if (!action->shortcut().isEmpty()) {
            QVERIFY2(seen.insert(action->shortcut().toString()).second, qPrintable(action->objectName()));
        }
    }
    QCOMPARE(seen, (std::set{u"Ctrl+H"_s, u"Ctrl+O"_s, u"Ctrl+P"_s, u"Ctrl+S"_s, u"Ctrl+X"_s}));
}

void TestActions::buildsTheMenus()
{
    QFETCH(bool, english);
    std::unique_ptr<EnglishCatalogue> catalogue;
    if (english) {
        catalogue = std::make_unique<EnglishCatalogue>();
    }
    const MainWindow window;
    const QList<QAction *> menus = window.menuBar()->actions();
    QStringList titles;
    QList<QStringList> entries;
    for (const QAction *action : menus) {
        QVERIFY(action->menu());
        titles.append(action->menu()->title());
        entries.append(namesOf(action->menu()->actions()));
    }
    QCOMPARE(titles,
             english ? (QStringList{u"File"_s, u"Edit"_s, u"Help"_s}) : (QStringList{u"文件"_s, u"编辑"_s, u"帮助"_s}));
    const QList<QStringList> expected{
        {u"openAction"_s, u"exportPdfAction"_s, u"printAction"_s, u"-"_s, u"exitAction"_s},
        {u"twoColsAction"_s, u"pageNumAction"_s, u"-"_s, u"decreaseMarginAction"_s, u"increaseMarginAction"_s, u"-"_s,
         u"zoomInAction"_s, u"zoomOutAction"_s, u"-"_s, u"autoTrimAction"_s},
        {u"aboutAction"_s}};
    QCOMPARE(entries, expected);
}

void TestActions::guideIsInNoMenuOrToolBar()
{
    const MainWindow window;
    QVERIFY(actionOf(window, "guideAction")->associatedObjects().isEmpty());
}

void TestActions::buildsOneToolBar()
{
    QFETCH(bool, english);
    std::unique_ptr<EnglishCatalogue> catalogue;
    if (english) {
        catalogue = std::make_unique<EnglishCatalogue>();
    }
    const MainWindow window;
    const auto bars = window.findChildren<QToolBar *>();
    QCOMPARE(bars.size(), 1);
    const QToolBar *bar = bars.first();
    QCOMPARE(bar->objectName(), u"mainToolbar"_s);
    QCOMPARE(bar->windowTitle(), u"main"_s);
    QVERIFY(bar->isMovable());
    QVERIFY(bar->isFloatable());
    QCOMPARE(bar->toolButtonStyle(), Qt::ToolButtonIconOnly);
    QCOMPARE(window.toolBarArea(bar), Qt::TopToolBarArea);
    QCOMPARE(bar->styleSheet(), u"QToolButton { padding: 0px; min-width: 44px; min-height: 44px; } "_s);
    QCOMPARE(namesOf(bar->actions()),
             (QStringList{u"openAction"_s, u"exportPdfAction"_s, u"printAction"_s, u"-"_s, u"twoColsAction"_s,
                          u"pageNumAction"_s, u"-"_s, u"autoTrimAction"_s, u"-"_s, u"decreaseMarginAction"_s,
                          u"increaseMarginAction"_s, u"-"_s, u"zoomInAction"_s, u"zoomOutAction"_s}));
}

void TestActions::iconSizeDependsOnTheDensity()
{
    const MainWindow window;
    const double ratio = screenDensityOfRun();
    const int expected = ratio >= 1.4 ? 40 : ratio >= 1.15 ? 36 : 32;
    QCOMPARE(childOf<QToolBar>(window, "mainToolbar")->iconSize(), QSize(expected, expected));
}

void TestActions::toolButtonsAreLargeEnough()
{
    MainWindow window;
    window.resize(1200, 500);
    window.show();
    auto *bar = childOf<QToolBar>(window, "mainToolbar");
    for (QAction *action : bar->actions()) {
        if (!action->isSeparator()) {
            const QWidget *button = bar->widgetForAction(action);
            QVERIFY(qobject_cast<const QToolButton *>(button));
            QVERIFY2(button->width() >= 44 && button->height() >= 44, qPrintable(action->objectName()));
        }
    }
}

void TestActions::leadsToTheCommandsWithoutRoom()
{
    MainWindow window;
    window.resize(400, 400);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const auto *bar = childOf<QToolBar>(window, "mainToolbar");
    const auto *extension = childOf<QToolButton>(*bar, "qt_toolbar_ext_button");
    QVERIFY(extension->isVisible());
    QVERIFY(bar->rect().contains(extension->geometry()));
    QCOMPARE(extension->width(), bar->style()->pixelMetric(QStyle::PM_ToolBarExtensionExtent));
    QCOMPARE_GE(extension->height(), 44);
    for (const QToolButton *button : bar->findChildren<QToolButton *>()) {
        QVERIFY(button == extension || !button->isVisible() || !button->geometry().intersects(extension->geometry()));
    }
}

void TestActions::iconSizeHasThreeSteps_data()
{
    QTest::addColumn<double>("density");
    QTest::addColumn<int>("size");
    QTest::newRow("half") << 0.5 << 32;
    QTest::newRow("96 dpi") << 1.0 << 32;
    QTest::newRow("110 dpi") << 110 / 96.0 << 32;
    QTest::newRow("111 dpi") << 111 / 96.0 << 36;
    QTest::newRow("below 1.15") << 1.1499999 << 32;
    QTest::newRow("1.15") << 1.15 << 36;
    QTest::newRow("below 1.4") << 1.3999999 << 36;
    QTest::newRow("1.4") << 1.4 << 40;
    QTest::newRow("144 dpi") << 144 / 96.0 << 40;
    QTest::newRow("fourfold") << 4.0 << 40;
}

void TestActions::iconSizeHasThreeSteps()
{
    QFETCH(double, density);
    QTEST(toolBarIconSize(density), "size");
    QCOMPARE(toolBarIconSize(std::nullopt), 32);
    QCOMPARE(screenDensity(), std::optional(screenDensityOfRun()));
}

void TestActions::firstDocumentEnablesActionsInOrder()
{
    MainWindow window;
    QStringList order;
    for (const QString &name : documentActions) {
        auto *action = window.findChild<QAction *>(name);
        QVERIFY(!action->isEnabled());
        connect(action, &QAction::enabledChanged, this, [&order, name](bool on) {
            if (on) {
                order.append(name);
            }
        });
    }
    window.loadImageFile(writePicture(QSize(100, 500)));
    QCOMPARE(order, documentActions);
}

void TestActions::worksWithoutTheTrimAction()
{
    MainWindow window;
    window.*trimMember() = nullptr;
    window.loadImageFile(writePicture(QSize(200, 1000)));
    QStringList expected = documentActions;
    expected.removeLast();
    QStringList enabled = enabledActions(window);
    for (const QString &name : {u"openAction"_s, u"exitAction"_s, u"guideAction"_s, u"aboutAction"_s}) {
        enabled.removeOne(name);
    }
    enabled.sort();
    expected.sort();
    QCOMPARE(enabled, expected);
}

void TestActions::rejectedFilesEnableNothing()
{
    MainWindow window;
    const QStringList atStart{u"guideAction"_s, u"openAction"_s, u"exitAction"_s, u"aboutAction"_s};
    QCOMPARE(enabledActions(window), atStart);
    window.loadImageFile(u"absent.png"_s);
    window.loadImageFile(writePicture(QSize(10, 500)));
    window.rebuildDocument();
    QCOMPARE(enabledActions(window), atStart);
}

void TestActions::actionsStayEnabled()
{
    MainWindow window;
    window.loadImageFile(writePicture(QSize(100, 500)));
    QCOMPARE(enabledActions(window).size(), 13);
    window.loadImageFile(u"absent.png"_s);
    QCOMPARE(enabledActions(window).size(), 13);
    window.loadImageFile(writePicture(QSize(10, 500)));
    window.rebuildDocument();
    QCOMPARE(enabledActions(window).size(), 13);
}

void TestActions::shortcutsTriggerOnlyEnabledActions()
{
    MainWindow window;
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QSignalSpy exported(actionOf(window, "exportPdfAction"), &QAction::triggered);
    QSignalSpy printed(actionOf(window, "printAction"), &QAction::triggered);
    QSignalSpy guided(actionOf(window, "guideAction"), &QAction::triggered);
    QSignalSpy opened(actionOf(window, "openAction"), &QAction::triggered);
    QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier);
    QTest::keyClick(&window, Qt::Key_P, Qt::ControlModifier);
    QTest::keyClick(&window, Qt::Key_H, Qt::ControlModifier);
    QCOMPARE(exported.count(), 0);
    QCOMPARE(printed.count(), 0);
    QCOMPARE(guided.count(), 0);

    const NextDialog openDialog([](QWidget *dialog) { qobject_cast<QDialog *>(dialog)->reject(); });
    QTest::keyClick(&window, Qt::Key_O, Qt::ControlModifier);
    QVERIFY(openDialog.wasMet());
    QCOMPARE(opened.count(), 1);

    window.loadImageFile(writePicture(QSize(100, 500)));
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const NextDialog saveDialog([](QWidget *dialog) { qobject_cast<QDialog *>(dialog)->reject(); });
    QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier);
    QVERIFY(saveDialog.wasMet());
    QCOMPARE(exported.count(), 1);
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_H, Qt::ControlModifier);
    QCOMPARE(guided.count(), 0);

    QTest::keyClick(&window, Qt::Key_X, Qt::ControlModifier);
    QVERIFY(!window.isVisible());
}

void TestActions::marginActionsStepTheMargin()
{
    MainWindow window;
    window.loadImageFile(writePicture(QSize(100, 500)));
    const auto stored = [] {
        QString value;
        readConfigValue(configFilePath(), u"marginsc"_s, value);
        return value;
    };
    QCOMPARE(stored(), QString());
    actionOf(window, "decreaseMarginAction")->trigger();
    QCOMPARE(stored(), u"5"_s);
    actionOf(window, "increaseMarginAction")->trigger();
    QCOMPARE(stored(), u"10"_s);
    actionOf(window, "increaseMarginAction")->trigger();
    QCOMPARE(stored(), u"15"_s);
}

void TestActions::zoomActionsStepTheRatio()
{
    MainWindow window;
    window.loadImageFile(writePicture(QSize(100, 500)));
    const auto *view = childOf<MainView>(window, "mainView");
    actionOf(window, "zoomInAction")->trigger();
    QCOMPARE(view->fitRatio(), 0.8);
    actionOf(window, "zoomOutAction")->trigger();
    actionOf(window, "zoomOutAction")->trigger();
    QCOMPARE(view->fitRatio(), 0.7);
}

void TestActions::fileActionsOpenADialog_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<QString>("title");
    QTest::newRow("open") << QByteArray("openAction") << u"打开图像或PDF文件"_s;
    QTest::newRow("export") << QByteArray("exportPdfAction") << u"导出到PDF"_s;
    QTest::newRow("print") << QByteArray("printAction") << u"打印"_s;
}

void TestActions::fileActionsOpenADialog()
{
    QFETCH(QByteArray, action);
    QFETCH(QString, title);
    MainWindow window;
    window.loadImageFile(writePicture(QSize(100, 500)));
    QString seen;
    const NextDialog next([&seen](QWidget *dialog) {
        seen = dialog->windowTitle();
        qobject_cast<QDialog *>(dialog)->reject();
    });
    actionOf(window, action.constData())->trigger();
    QVERIFY(next.wasMet());
    QCOMPARE(seen, title);
}

void TestActions::exitClosesTheWindow()
{
    MainWindow window;
    window.show();
    openStore().clear();
    actionOf(window, "exitAction")->trigger();
    QVERIFY(!window.isVisible());
    QVERIFY(openStore().contains(u"splitterState"_s)); // only the close event stores it
}

void TestActions::twoColsSwitchesTheScene()
{
    MainWindow window;
    window.loadImageFile(writePicture(QSize(100, 500)));
    const auto *view = childOf<LeftView>(window, "leftView");
    QCOMPARE(view->scene()->items().size(), 4);
    actionOf(window, "twoColsAction")->trigger();
    QCOMPARE(view->scene()->items().size(), 1);
    actionOf(window, "twoColsAction")->trigger();
    QCOMPARE(view->scene()->items().size(), 4);
}

void TestActions::pageNumSwitchesPageNumbers()
{
    MainWindow window;
    window.loadImageFile(writePicture(QSize(100, 500)));
    const bool before = showPageNumbers();
    actionOf(window, "pageNumAction")->trigger();
    QCOMPARE(showPageNumbers(), !before);
    actionOf(window, "pageNumAction")->trigger();
    QCOMPARE(showPageNumbers(), before);
}

void TestActions::autoTrimRemovesTheBorder()
{
    MainWindow window;
    window.loadImageFile(writePicture(QSize(200, 500)));
    const auto *view = childOf<MainView>(window, "mainView");
    QCOMPARE(view->scene()->sceneRect().width(), 200.0);
    actionOf(window, "autoTrimAction")->trigger();
    QVERIFY(view->scene()->sceneRect().width() < 200.0);
    QVERIFY(view->scene()->sceneRect().width() >= 160.0);
}

void TestActions::guideDoesNothing()
{
    MainWindow window;
    window.show();
    window.loadImageFile(writePicture(QSize(100, 500)));
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QImage before = window.grab().toImage();
    const qsizetype widgets = QApplication::allWidgets().size();
    actionOf(window, "guideAction")->trigger();
    QCOMPARE(QApplication::allWidgets().size(), widgets);
    QCOMPARE(window.grab().toImage(), before);
}

void TestActions::aboutOpensTheDialogOverTheWindow()
{
    QFETCH(bool, english);
    MainWindow window;
    window.setGeometry(40, 30, 603, 501);
    window.show();
    window.setLanguage(english ? u"en"_s : u"zh"_s);
    bool isAbout = false;
    bool hasLogo = false;
    QPoint place;
    QWidget *parent = nullptr;
    const NextDialog next([&](QWidget *dialog) {
        isAbout = qobject_cast<AboutDialog *>(dialog) != nullptr;
        hasLogo = !childOf<QLabel>(*dialog, "logoLabel")->pixmap(Qt::ReturnByValue).isNull();
        place = dialog->pos();
        parent = dialog->parentWidget();
        qobject_cast<QDialog *>(dialog)->reject();
    });
    actionOf(window, "aboutAction")->trigger();
    QVERIFY(next.wasMet());
    QVERIFY(isAbout);
    QCOMPARE(hasLogo, english);
    QCOMPARE(parent, &window);
    QCOMPARE(place, QPoint(window.x() + (window.width() - 480) / 2, window.y() + (window.height() - 480) / 2));
}

QUILLMARCH_TEST_MAIN(TestActions)
#include "tst_actions.moc"
