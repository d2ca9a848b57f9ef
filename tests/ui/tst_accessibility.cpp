#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/documents.h"
#include "support/testmain.h"
#include "ui/aboutdialog.h"
#include "ui/customsplitter.h"
#include "ui/mainview.h"
#include "ui/windowaccess.h"
#include "update/downloadupdatedialog.h"
#include "update/updatedialog.h"

#include <QAbstractScrollArea>
#include <QAccessible>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSizeGrip>
#include <QStatusBar>
#include <QTextBrowser>
#include <QToolBar>
#include <QToolButton>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

enum class Scene { Start, Document, Offer, About, AboutInEnglish, NewVersion, Download, Progress, Finished, Failed };

/// A window of the program, or one of its dialogs, as \a scene says.
std::unique_ptr<QWidget> makeScene(Scene scene)
{
    switch (scene) {
    case Scene::Start:
        return std::make_unique<MainWindow>();
    case Scene::Document:
    case Scene::Offer: {
        auto window = std::make_unique<MainWindow>();
        window->loadImageFile(savedPicture(textPicture(400, 1500), u"page.png"_s));
        if (scene == Scene::Offer) {
            window->onVersionInfoReceived(u"3.0.0"_s, true, u"https://packages.example/q.zip"_s);
        }
        return window;
    }
    case Scene::About:
        return std::make_unique<AboutDialog>(nullptr);
    case Scene::AboutInEnglish: {
        auto dialog = std::make_unique<AboutDialog>(nullptr);
        dialog->setLanguage(u"en"_s);
        return dialog;
    }
    case Scene::NewVersion: {
        ReleaseInfo release;
        release.version = u"3.0.0"_s;
        release.title = u"春季版"_s;
        return std::make_unique<UpdateDialog>(release);
    }
    default:
        break;
    }
    DownloadRequestInfo request;
    request.latestVersion = u"3.0.0"_s;
    request.updateLog = u"更快"_s;
    auto dialog = std::make_unique<DownloadUpdateDialog>(request, nullptr);
    if (scene != Scene::Download) {
        dialog->onDownloadProgress(40, 40, 100);
    }
    if (scene == Scene::Finished) {
        dialog->onDownloadFinished(u"package.zip"_s);
    } else if (scene == Scene::Failed) {
        dialog->onDownloadError(u"no network"_s);
    }
    return dialog;
}

void addScenes()
{
    QTest::addColumn<Scene>("scene");
    QTest::newRow("window at the start") << Scene::Start;
    QTest::newRow("window with a document") << Scene::Document;
    QTest::newRow("window with an offer") << Scene::Offer;
    QTest::newRow("about") << Scene::About;
    QTest::newRow("about in English") << Scene::AboutInEnglish;
    QTest::newRow("new version") << Scene::NewVersion;
    QTest::newRow("download, offer") << Scene::Download;
    QTest::newRow("download, under way") << Scene::Progress;
    QTest::newRow("download, finished") << Scene::Finished;
    QTest::newRow("download, failed") << Scene::Failed;
}

/// What a reader of the screen must be able to tell by its name.
bool needsName(const QAccessibleInterface &part)
{
    switch (part.role()) {
    case QAccessible::Button:
    case QAccessible::CheckBox:
    case QAccessible::Dialog:
    case QAccessible::MenuItem:
    case QAccessible::ProgressBar:
    case QAccessible::ToolBar:
    case QAccessible::Window:
        return true;
    default:
        return part.state().focusable;
    }
}

/// Whether \a object is the inside of a view that has a name of its own.
bool isViewport(const QObject *object)
{
    const auto *area = qobject_cast<const QAbstractScrollArea *>(object->parent());
    return area && area->viewport() == object;
}

/// Appends what needs a name and has none, of \a part and all within it. What
/// cannot be seen is left out, but for the entries of closed menus.
void findNameless(QAccessibleInterface *part, QStringList &nameless, int &named)
{
    if (!part || !part->isValid()) {
        return;
    }
    const QObject *object = part->object();
    const bool shown = !part->state().invisible || part->role() == QAccessible::MenuItem;
    if (shown && needsName(*part) && !(object && isViewport(object))) {
        if (part->text(QAccessible::Name).trimmed().isEmpty()) {
            nameless.append(object ? QLatin1StringView(object->metaObject()->className()) + u' ' + object->objectName()
                                   : u"part without an object"_s);
        } else {
            ++named;
        }
    }
    for (int i = 0; i < part->childCount(); ++i) {
        findNameless(part->child(i), nameless, named);
    }
}

/// The widgets that the Tab key goes through, from the one that has the
/// keyboard to the first one that comes again.
QWidgetList tabRound(QWidget &window)
{
    QWidgetList round;
    while (true) {
        QTest::keyClick(window.windowHandle(), Qt::Key_Tab);
        QWidget *focus = QApplication::focusWidget();
        if (!focus || round.contains(focus)) {
            return round;
        }
        round.append(focus);
    }
}

/// The entries of the menus that can be chosen, with their menus.
QList<std::pair<QMenu *, QAction *>> menuEntries(const MainWindow &window)
{
    QList<std::pair<QMenu *, QAction *>> entries;
    for (const QAction *title : window.menuBar()->actions()) {
        for (QAction *action : title->menu()->actions()) {
            if (!action->isSeparator()) {
                entries.append({title->menu(), action});
            }
        }
    }
    return entries;
}

void press(QWidget &widget, Qt::Key key)
{
    QTest::keyClick(widget.windowHandle(), key);
}

/// Chooses \a action of \a menu as a hand on the keyboard does. Returns what
/// went wrong, or nothing.
QString chooseByKeyboard(MainWindow &window, const QMenu *menu, const QAction *action)
{
    press(window, Qt::Key_Alt);
    const QList<QAction *> titles = window.menuBar()->actions();
    if (window.menuBar()->activeAction() != titles.constFirst()) {
        return u"Alt does not lead to the first menu"_s;
    }
    while (window.menuBar()->activeAction()->menu() != menu) {
        press(window, Qt::Key_Right);
        if (window.menuBar()->activeAction() == titles.constFirst()) {
            return u"the Right key passes the menu by"_s;
        }
    }
    press(window, Qt::Key_Down);
    QWidget *popup = QApplication::activePopupWidget();
    if (popup != menu) {
        return u"the Down key does not open the menu"_s;
    }
    for (qsizetype steps = 0; menu->activeAction() != action; ++steps) {
        if (steps > menu->actions().size()) {
            return u"the Down key passes the entry by"_s;
        }
        press(*popup, Qt::Key_Down);
    }
    press(*popup, Qt::Key_Return);
    return {};
}

} // namespace

class TestAccessibility : public QObject
{
    Q_OBJECT

private slots:
    void init() { forgetEverything(); }

    void everyPartHasAName_data() { addScenes(); }
    void everyPartHasAName();
    void speaksTheLanguageOfTheWindow_data();
    void speaksTheLanguageOfTheWindow();
    void speaksEnglishThroughout_data() { addScenes(); }
    void speaksEnglishThroughout();
    void toolButtonsAreNamedByTheirCommands();
    void imageCommandsAreInTheMenus();
    void reachesEveryMenuEntryByKeyboard_data();
    void reachesEveryMenuEntryByKeyboard();
    void tabReachesEveryButton_data() { addScenes(); }
    void tabReachesEveryButton();
    void escapeEndsEveryDialog_data();
    void escapeEndsEveryDialog();
    void spacePressesTheButtonOfTheOffer();
    void keysScrollTheViews();
    void knowsWhatIsForTheMouseAlone();
};

void TestAccessibility::everyPartHasAName()
{
    QFETCH(Scene, scene);
    const auto window = makeScene(scene);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    QStringList nameless;
    int named = 0;
    findNameless(QAccessible::queryAccessibleInterface(window.get()), nameless, named);
    QCOMPARE(nameless, QStringList());
    QCOMPARE_GE(named, 2); // the tree was there
}

void TestAccessibility::speaksTheLanguageOfTheWindow_data()
{
    QTest::addColumn<Scene>("scene");
    QTest::addColumn<QByteArray>("part"); // an object name or a class; none for the window itself
    QTest::addColumn<QString>("chinese");
    QTest::addColumn<QString>("english");
    const auto add = [](const char *part, Scene scene, const QString &chinese, const QString &english) {
        QTest::addRow("%s in %d", part, int(scene)) << scene << QByteArray(part) << chinese << english;
    };
    add("mainView", Scene::Start, u"原图"_s, u"Source image"_s);
    add("leftView", Scene::Start, u"输出页面"_s, u"Output pages"_s);
    add("qt_toolbar_ext_button", Scene::Start, u"更多命令"_s, u"More commands"_s);
    add("updateButton", Scene::Offer, u"点击下载最新版本"_s, u"Download the latest version"_s);
    add("", Scene::About, u"关于"_s, u"About"_s);
    add("", Scene::NewVersion, u"Quillmarch 软件更新"_s, u"Quillmarch software update"_s);
    add("QTextBrowser", Scene::NewVersion, u"更新内容"_s, u"What's new"_s);
    add("", Scene::Download, u"发现新版本"_s, u"New version available"_s);
    add("QScrollArea", Scene::Download, u"更新内容："_s, u"What's new"_s);
    add("QProgressBar", Scene::Progress, u"下载进度"_s, u"Download progress"_s);
}

void TestAccessibility::speaksTheLanguageOfTheWindow()
{
    QFETCH(Scene, scene);
    QFETCH(QByteArray, part);
    const auto spoken = [&] {
        const auto window = makeScene(scene);
        for (QWidget *widget : window->findChildren<QWidget *>()) {
            if (!part.isEmpty() && (widget->objectName() == QLatin1String(part) || widget->inherits(part))) {
                return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
            }
        }
        return part.isEmpty() ? QAccessible::queryAccessibleInterface(window.get())->text(QAccessible::Name)
                              : u"no such part"_s;
    };
    QTEST(spoken(), "chinese");
    const EnglishCatalogue english;
    QVERIFY(english.isLoaded());
    QTEST(spoken(), "english");
}

/// Visible texts without an English entry stay Chinese, but no name that is
/// for screen readers alone does.
void TestAccessibility::speaksEnglishThroughout()
{
    QFETCH(Scene, scene);
    const EnglishCatalogue english;
    const auto window = makeScene(scene);
    QWidgetList widgets = window->findChildren<QWidget *>();
    widgets.append(window.get());
    int count = 0;
    for (const QWidget *widget : std::as_const(widgets)) {
        const QString name = widget->accessibleName();
        QVERIFY2(name == QString::fromLatin1(name.toLatin1()), qPrintable(name));
        count += name.isEmpty() ? 0 : 1;
    }
    QCOMPARE_GT(count, 0);
}

void TestAccessibility::toolButtonsAreNamedByTheirCommands()
{
    MainWindow window;
    window.show();
    int count = 0;
    for (QToolButton *button : childOf<QToolBar>(window, "mainToolbar")->findChildren<QToolButton *>()) {
        if (const QAction *action = button->defaultAction()) {
            QCOMPARE(QAccessible::queryAccessibleInterface(button)->text(QAccessible::Name), action->text());
            ++count;
        }
    }
    QCOMPARE(count, 10);
}

void TestAccessibility::imageCommandsAreInTheMenus()
{
    const MainWindow window;
    QSet<QAction *> inMenus;
    for (const auto &[menu, action] : menuEntries(window)) {
        inMenus.insert(action);
    }
    QStringList elsewhere;
    for (QAction *action : window.findChildren<QAction *>(Qt::FindDirectChildrenOnly)) {
        if (!inMenus.contains(action)) {
            elsewhere.append(action->objectName());
        }
    }
    QCOMPARE(elsewhere, QStringList{u"guideAction"_s}); // which does nothing, by Ctrl+H
}

void TestAccessibility::reachesEveryMenuEntryByKeyboard_data()
{
    QTest::addColumn<QString>("name");
    const MainWindow window;
    for (const auto &[menu, action] : menuEntries(window)) {
        QTest::newRow(qPrintable(action->objectName())) << action->objectName();
    }
}

void TestAccessibility::reachesEveryMenuEntryByKeyboard()
{
    QFETCH(QString, name);
    MainWindow window;
    window.loadImageFile(savedPicture(textPicture(400, 1500), u"page.png"_s));
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    for (const auto &[menu, action] : menuEntries(window)) {
        if (action->objectName() == name) {
            disconnect(action, &QAction::triggered, &window, nullptr); // or dialogs would come
            const QSignalSpy triggered(action, &QAction::triggered);
            QCOMPARE(chooseByKeyboard(window, menu, action), QString());
            QCOMPARE(triggered.count(), 1);
            return;
        }
    }
    QFAIL("no such entry");
}

void TestAccessibility::tabReachesEveryButton()
{
    QFETCH(Scene, scene);
    const auto window = makeScene(scene);
    window->show();
    QVERIFY(QTest::qWaitForWindowActive(window.get()));
    const QWidgetList reached = tabRound(*window);
    QVERIFY(!reached.isEmpty());
    for (QAbstractButton *button : window->findChildren<QAbstractButton *>()) {
        // The commands of the tool bar are in the menus, too.
        if (button->isVisible() && button->isEnabled() && !qobject_cast<QToolButton *>(button)) {
            QVERIFY2(reached.contains(button), qPrintable(button->text() + button->objectName()));
        }
    }
    for (QAbstractScrollArea *area : window->findChildren<QAbstractScrollArea *>()) {
        QVERIFY2(reached.contains(area), area->metaObject()->className());
    }
}

void TestAccessibility::escapeEndsEveryDialog_data()
{
    QTest::addColumn<Scene>("scene");
    QTest::newRow("about") << Scene::About;
    QTest::newRow("new version") << Scene::NewVersion;
    QTest::newRow("download, offer") << Scene::Download;
    QTest::newRow("download, under way") << Scene::Progress;
    QTest::newRow("download, failed") << Scene::Failed;
}

void TestAccessibility::escapeEndsEveryDialog()
{
    QFETCH(Scene, scene);
    const auto dialog = makeScene(scene);
    dialog->show();
    QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    press(*dialog, Qt::Key_Escape);
    QVERIFY(!dialog->isVisible());
}

void TestAccessibility::spacePressesTheButtonOfTheOffer()
{
    const auto window = makeScene(Scene::Offer);
    window->show();
    QVERIFY(QTest::qWaitForWindowActive(window.get()));
    auto *button = childOf<QPushButton>(*window, "updateButton");
    QVERIFY(tabRound(*window).contains(button));
    button->setFocus();
    NextDialog offer([](QWidget *dialog) { dialog->close(); });
    press(*window, Qt::Key_Space);
    QVERIFY(offer.wasMet());
}

void TestAccessibility::keysScrollTheViews()
{
    const auto window = makeScene(Scene::Document);
    window->resize(700, 500);
    window->show();
    QVERIFY(QTest::qWaitForWindowActive(window.get()));
    for (const char *name : {"mainView", "leftView"}) {
        auto *view = childOf<QAbstractScrollArea>(*window, name);
        view->setFocus();
        const int before = view->verticalScrollBar()->value();
        press(*window, Qt::Key_PageDown);
        QVERIFY2(view->verticalScrollBar()->value() > before, name);
    }
}

/// What the keyboard does not reach; the guides say so. Whoever adds a way for
/// one of these changes the list here and there.
void TestAccessibility::knowsWhatIsForTheMouseAlone()
{
    const auto widget = makeScene(Scene::Document);
    const auto &window = *qobject_cast<MainWindow *>(widget.get());
    for (const PageItem *strip : stripsOf(window)) {
        QVERIFY(!strip->flags().testFlag(QGraphicsItem::ItemIsFocusable)); // dragging a cut
    }
    for (const PreviewItem *page : pagesOf(window)) {
        QVERIFY(!page->flags().testFlag(QGraphicsItem::ItemIsFocusable)); // choosing a page
    }
    QCOMPARE(childOf<CustomSplitter>(window, "")->handle(1)->focusPolicy(), Qt::NoFocus);
    QCOMPARE(childOf<QToolBar>(window, "mainToolbar")->focusPolicy(), Qt::NoFocus); // moving the bar
    const auto about = makeScene(Scene::About);
    QVERIFY(!childOf<QLabel>(*about, "infoLabel")->textInteractionFlags().testFlag(Qt::LinksAccessibleByKeyboard));
}

QUILLMARCH_TEST_MAIN(TestAccessibility)

#include "tst_accessibility.moc"
