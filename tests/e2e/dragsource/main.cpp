#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

/// Gives the addresses away to whoever they are dragged to with the mouse.
class DragSource : public QLabel
{
public:
    explicit DragSource(QList<QUrl> given)
        : QLabel(u"Drag me"_s)
        , addresses(std::move(given))
    {
        setAlignment(Qt::AlignCenter);
        setWindowTitle(u"drag source"_s);
        setGeometry(20, 40, 120, 120);
    }

protected:
    void mousePressEvent(QMouseEvent *event) override { event->accept(); }

    void mouseMoveEvent(QMouseEvent *) override
    {
        auto *offer = new QMimeData; // the drag takes it
        offer->setUrls(addresses);
        auto *drag = new QDrag(this); // deletes itself when it ends
        drag->setMimeData(offer);
        drag->exec(Qt::CopyAction);
    }

private:
    QList<QUrl> addresses;
};

} // namespace

/// Offers the addresses of the command line, such as `file:///tmp/a.png`.
int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QList<QUrl> addresses;
    for (const QString &argument : QApplication::arguments().mid(1)) {
        addresses.append(QUrl(argument));
    }
    DragSource source(std::move(addresses));
    source.show();
    return QApplication::exec();
}
