#pragma once

#include <QApplication>
#include <QImage>
#include <QList>
#include <QSizeF>
#include <QString>
#include <QWidget>

#include <functional>

class LeftView;
class MainView;
class MainWindow;
class PageItem;
class PreviewItem;

/// A picture of soft blocks of colour, 32 x 32 pixels each, that depend on
/// \a seed. No two rows of blocks are equal. Format_RGB32.
QImage blockPicture(int width, int height, quint32 seed = 1);

/// A light picture with a dark line of "text" in every \a pitch rows; the gaps
/// between are the brightest rows. Format_RGB32.
QImage textPicture(int width, int height, int pitch = 40);

/// Saves \a image as \a name in the working directory, which is the run's own.
/// \a format is guessed from the name if it is null. Returns the absolute
/// path; ends the program if the image cannot be written.
QString savedPicture(const QImage &image, const QString &name, const char *format = nullptr);

/// Writes \a bytes to the file \a name in the working directory and returns its
/// absolute path.
QString savedBytes(const QByteArray &bytes, const QString &name);

/// Puts `user.ini` back to what it is at a first start.
void clearConfigValues();

/// The value of \a key in `user.ini`, as this process sees it.
QString configValue(const QString &key);

MainView *mainViewOf(const MainWindow &window);
LeftView *leftViewOf(const MainWindow &window);

/// Triggers the action with the object name \a name.
void trigger(const MainWindow &window, const char *name);

/// The strips of the shown document, top to bottom.
QList<PageItem *> stripsOf(const MainWindow &window);

/// The output pages of the layout that is shown, in order.
QList<PreviewItem *> pagesOf(const MainWindow &window);

/// What the strips of \a window show, one under the other without handles: the
/// pixels of every band, at their place in an image of the size \a size.
/// Nothing is drawn where there is no band; the ground is magenta.
QImage shownPicture(const MainWindow &window, QSize size);

/// The text of the toast, or an empty string if none is visible.
QString toastText(const MainWindow &window);

/// Hides the toast at once.
void dropToast(const MainWindow &window);

/// Empty if \a actual equals \a expected: in size, and in each channel of each
/// pixel up to \a tolerance. Otherwise the first different pixel and both
/// values.
QString firstDifference(const QImage &actual, const QImage &expected, int tolerance = 0);

/// Calls \a handle with the modal dialog of type \a Dialog that comes up next.
/// A dialog that \a handle leaves open is rejected, so that no test hangs.
template <typename Dialog>
void onNextDialog(std::function<void(Dialog *)> handle);

/// Calls \a handle with the next modal widget, once there is one.
void onNextModalWidget(std::function<void(QWidget *)> handle);

template <typename Dialog>
void onNextDialog(std::function<void(Dialog *)> handle)
{
    onNextModalWidget([handle](QWidget *widget) {
        if (auto *dialog = qobject_cast<Dialog *>(widget)) {
            handle(dialog);
        }
        if (widget->isVisible()) {
            widget->close();
        }
    });
}

/// The number of pages of the PDF file \a path by the tool pdfinfo, and the
/// size of its first page in points; -1 if the file cannot be read.
struct PdfFacts
{
    int pages = -1;
    QSizeF pageSize;
};
PdfFacts pdfFacts(const QString &path);

/// The pages of the PDF file \a path as pictures of \a dotsPerInch.
QList<QImage> pdfPictures(const QString &path, int dotsPerInch);
