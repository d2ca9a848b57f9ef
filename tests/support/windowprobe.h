#pragma once

#include <QImage>
#include <QList>
#include <QString>
#include <QWidget>

class LeftView;
class MainView;
class MainWindow;
class PageItem;
class PopUp;
class PreviewItem;
class QAction;
class QScrollBar;
class QSplitter;

/// The child of \a parent with the object name \a name; null if there is none.
template <typename T>
[[nodiscard]] T *childOf(const QObject &parent, const char *name)
{
    return parent.findChild<T *>(QLatin1StringView(name));
}

[[nodiscard]] MainView *mainViewOf(const MainWindow &window);
[[nodiscard]] LeftView *leftViewOf(const MainWindow &window);
[[nodiscard]] QSplitter *splitterOf(const MainWindow &window);
[[nodiscard]] PopUp *toastOf(const MainWindow &window);
[[nodiscard]] QAction *actionOf(const MainWindow &window, const char *name);

/// Triggers the action with the object name \a name. Ends the program if there
/// is none or it is disabled.
void trigger(const MainWindow &window, const char *name);

/// The strips of the current document, top to bottom.
[[nodiscard]] QList<PageItem *> stripsOf(const MainWindow &window);

/// The output pages of the current layout, in order.
[[nodiscard]] QList<PreviewItem *> pagesOf(const MainWindow &window);

/// The bands that the strips of \a window show, without handles, at their
/// place in an image of the size \a size; magenta where there is no band.
[[nodiscard]] QImage shownPicture(const MainWindow &window, QSize size);

/// The text of the toast; empty if it is hidden.
[[nodiscard]] QString toastText(const MainWindow &window);

/// Hides the toast at once.
void hideToast(const MainWindow &window);
