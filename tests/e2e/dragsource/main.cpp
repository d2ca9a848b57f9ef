#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// A window from which the addresses can be dragged with the mouse. Prints when a
/// target accepts them, and how the drag ended.
class DragSource : public QLabel
{
public:
    explicit DragSource(QList<QUrl> offeredAddresses)
        : QLabel(u"Drag me"_s)
        , addresses(std::move(offeredAddresses))
    {
        setAlignment(Qt::AlignCenter);
        setWindowTitle(u"drag source"_s);
        setGeometry(20, 40, 120, 120);
    }

protected:
    void mousePressEvent(QMouseEvent *event) override { event->accept(); }

    void mouseMoveEvent(QMouseEvent *) override
    {
        auto *offer = new QMimeData; // the drag takes ownership
        offer->setUrls(addresses);
        auto *drag = new QDrag(this); // deletes itself when it ends
        drag->setMimeData(offer);
        connect(drag, &QDrag::actionChanged, this, [](Qt::DropAction action) {
            if (action == Qt::CopyAction) {
                std::puts("accepted");
                std::fflush(stdout);
            }
        });
        std::puts(drag->exec(Qt::CopyAction) == Qt::CopyAction ? "dropped" : "cancelled");
        std::fflush(stdout);
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
