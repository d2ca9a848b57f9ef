#include "pdf/pdfwriter.h"

#include "base/buildconfig.h"
#include "pdf/bandqueue.h"
#include "pdf/bandspool.h"
#include "pdf/imageobjects.h"
#include "pdf/picturebands.h"
#include "pdf/sheetcontent.h"

#include <QFileDevice>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFWriter.hh>
#include <QThread>

#include <new>
#include <stdexcept>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 spoolMemory = qint64(16) << 20;
constexpr qint64 lastSecond = 253402300799; // since 1970: the end of the year 9999

// Opaque pictures, soft masks and predictors are older; images of 16 bits are not.
constexpr const char *pdfVersion = "1.5";

QPDFObjectHandle textString(const QString &text)
{
    return QPDFObjectHandle::newUnicodeString(text.toStdString());
}

QPDFObjectHandle real(const QByteArray &number)
{
    return QPDFObjectHandle::newReal(number.toStdString());
}

QDateTime statedTime(const QDateTime &created)
{
    if (created.isValid()) {
        return created.toUTC();
    }
    bool isNumber = false;
    const qint64 seconds = qEnvironmentVariable("SOURCE_DATE_EPOCH").toLongLong(&isNumber);
    const bool hasFourDigits = isNumber && seconds >= 0 && seconds <= lastSecond;
    return hasFourDigits ? QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC) : QDateTime::currentDateTimeUtc();
}

int threadCount(int wanted)
{
    return wanted > 0 ? wanted : QThread::idealThreadCount();
}

/// Why \a device takes no more. If it took a part of its buffer, as at a full disk, only the
/// next attempt says that.
QString reasonOf(QIODevice *device)
{
    if (auto *file = qobject_cast<QFileDevice *>(device)) {
        file->flush();
    }
    return device->errorString();
}

/// Passes the file on to a device. No exception may pass libqpdf while it writes; the
/// first error is kept.
class DevicePipeline : public Pipeline
{
public:
    explicit DevicePipeline(QIODevice *target)
        : Pipeline("device", nullptr)
        , device(target)
    {
    }

    void write(const unsigned char *data, size_t size) override
    {
        const auto *bytes = reinterpret_cast<const char *>(data);
        qint64 left = m_error.isEmpty() ? qint64(size) : 0;
        while (left > 0) {
            const qint64 taken = device->write(bytes + size - left, left);
            m_error = taken > 0 ? QString() : reasonOf(device);
            left = taken > 0 ? left - taken : 0;
        }
    }

    void finish() override
    {
        auto *file = qobject_cast<QFileDevice *>(device);
        if (m_error.isEmpty() && file != nullptr && !file->flush()) {
            m_error = reasonOf(device);
        }
    }

    /// Why the device did not take the file; empty if it did.
    QString error() const { return m_error; }

private:
    QIODevice *device;
    QString m_error;
};

/// Calls \a work. The objects of a document are all ours, so libqpdf finds fault with
/// one only if it ran out of memory while making it.
template <typename Work>
void withOwnErrors(Work work)
{
    try {
        work();
    } catch (const QPDFExc &) {
        throw std::bad_alloc();
    }
}

} // namespace

class PdfWriter::Document
{
public:
    Document(QIODevice *target, const PdfOptions &chosen)
        : device(target)
        , options(chosen)
        , spool(chosen.spoolFolder, spoolMemory)
    {
        pdf.setSuppressWarnings(true); // they would go to standard error
        withOwnErrors([&] { pdf.emptyPDF(); });
    }

    void addPicture(const PdfPicture &picture, const QList<PdfSheet> &sheets, const SheetDone &done)
    {
        for (const PdfSheet &sheet : sheets) {
            checkSheet(sheet, picture.size().height());
        }
        const PictureBands bands(picture, options);
        const QByteArray profile = bands.colorProfile();
        std::vector<PlacedStrip> strips;
        std::vector<int> lastOfSheet;
        for (const PdfSheet &sheet : sheets) {
            strips.insert(strips.end(), sheet.strips.begin(), sheet.strips.end());
        }
        int index = 0;
        SheetObjects objects;
        const auto addFinishedSheets = [&] {
            while (index < sheets.size() && objects.size() == size_t(sheets.at(index).strips.size())) {
                addSheet(sheets.at(index), objects);
                objects.clear();
                if (index == 0) {
                    bookmarks.push_back({picture.title, pages.back()});
                }
                if (done) {
                    done(index);
                }
                ++index;
            }
        };
        addFinishedSheets(); // those without strips
        packInOrder(
            int(strips.size()), threadCount(options.threads),
            [&](int i) { return bands.pack(strips[size_t(i)].firstRow, strips[size_t(i)].endRow); },
            [&](int, PackedBand band) {
                objects.push_back({band.firstRow, band.firstRow + band.colors.height, {}});
                objects.back().image = images.add(std::move(band), profile);
                addFinishedSheets();
            });
    }

    void finish()
    {
        if (pages.empty()) {
            throw std::invalid_argument("there is no sheet");
        }
        addInformation();
        if (bookmarks.size() > 1) {
            addOutline();
        }
        DevicePipeline pipeline(device);
        QPDFWriter writer(pdf);
        writer.setOutputPipeline(&pipeline);
        writer.setStreamDataMode(qpdf_s_preserve);
        writer.setObjectStreamMode(qpdf_o_disable);
        writer.setMinimumPDFVersion(pdfVersion);
        writer.setDeterministicID(true);
        writer.write();
        images.throwFailure();
        if (!pipeline.error().isEmpty()) {
            throw PdfError(pipeline.error());
        }
    }

private:
    struct PlacedImage
    {
        int firstRow;
        int endRow;
        QPDFObjectHandle image;
    };
    using SheetObjects = std::vector<PlacedImage>;

    struct Bookmark
    {
        QString title;
        QPDFObjectHandle page;
    };

    void addSheet(const PdfSheet &sheet, const SheetObjects &objects)
    {
        QPDFObjectHandle pictures = QPDFObjectHandle::newDictionary();
        QByteArray content;
        for (size_t i = 0; i < objects.size(); ++i) {
            const auto at = qsizetype(i);
            const QByteArray name = "B" + QByteArray::number(at);
            const PlacedStrip *next = at + 1 < sheet.strips.size() ? &sheet.strips.at(at + 1) : nullptr;
            content += bandContent(sheet, sheet.strips.at(at), next, name, objects[i].firstRow, objects[i].endRow);
            pictures.replaceKey('/' + name.toStdString(), objects[i].image);
        }
        content += numberContent(sheet, "F");
        QPDFObjectHandle resources = QPDFObjectHandle::newDictionary();
        resources.replaceKey("/XObject", pictures);
        if (!sheet.number.isEmpty()) {
            resources.replaceKey("/Font", fonts());
        }
        addPage(sheet.size, content, resources);
    }

    void addPage(const QSizeF &size, const QByteArray &content, const QPDFObjectHandle &resources)
    {
        QPDFObjectHandle page = QPDFObjectHandle::newDictionary();
        page.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
        page.replaceKey("/MediaBox",
                        QPDFObjectHandle::newArray(
                            {real("0"), real("0"), real(pointsText(size.width())), real(pointsText(size.height()))}));
        page.replaceKey("/Contents", pdf.newStream(content.toStdString()));
        page.replaceKey("/Resources", resources);
        pages.push_back(pdf.makeIndirectObject(page));
        pdf.addPage(pages.back(), false);
    }

    /// The dictionary of the font of the numbers. Every viewer has it.
    QPDFObjectHandle fonts()
    {
        if (!fontDictionary.isInitialized()) {
            QPDFObjectHandle font = QPDFObjectHandle::newDictionary();
            font.replaceKey("/Type", QPDFObjectHandle::newName("/Font"));
            font.replaceKey("/Subtype", QPDFObjectHandle::newName("/Type1"));
            font.replaceKey("/BaseFont", QPDFObjectHandle::newName("/Times-Roman"));
            fontDictionary = QPDFObjectHandle::newDictionary();
            fontDictionary.replaceKey("/F", pdf.makeIndirectObject(font));
            fontDictionary = pdf.makeIndirectObject(fontDictionary);
        }
        return fontDictionary;
    }

    void addInformation()
    {
        const QString program = u"Quillmarch %1"_s.arg(programVersion);
        const std::string time = statedTime(options.created).toString(u"'D:'yyyyMMddHHmmss'Z'"_s).toStdString();
        QPDFObjectHandle information = QPDFObjectHandle::newDictionary();
        if (!options.title.isEmpty()) {
            information.replaceKey("/Title", textString(options.title));
        }
        information.replaceKey("/Creator", textString(program));
        information.replaceKey("/Producer", textString(program));
        information.replaceKey("/CreationDate", QPDFObjectHandle::newString(time));
        information.replaceKey("/ModDate", QPDFObjectHandle::newString(time));
        pdf.getTrailer().replaceKey("/Info", pdf.makeIndirectObject(information));
    }

    void addOutline()
    {
        QPDFObjectHandle outline = pdf.makeIndirectObject(QPDFObjectHandle::newDictionary());
        outline.replaceKey("/Type", QPDFObjectHandle::newName("/Outlines"));
        outline.replaceKey("/Count", QPDFObjectHandle::newInteger(qint64(bookmarks.size())));
        QPDFObjectHandle previous;
        for (const Bookmark &bookmark : bookmarks) {
            QPDFObjectHandle entry = pdf.makeIndirectObject(QPDFObjectHandle::newDictionary());
            entry.replaceKey("/Title", textString(bookmark.title));
            entry.replaceKey("/Parent", outline);
            entry.replaceKey("/Dest", QPDFObjectHandle::newArray({bookmark.page, QPDFObjectHandle::newName("/Fit")}));
            if (previous.isInitialized()) {
                previous.replaceKey("/Next", entry);
                entry.replaceKey("/Prev", previous);
            } else {
                outline.replaceKey("/First", entry);
            }
            previous = entry;
        }
        outline.replaceKey("/Last", previous);
        pdf.getRoot().replaceKey("/Outlines", outline);
        pdf.getRoot().replaceKey("/PageMode", QPDFObjectHandle::newName("/UseOutlines"));
    }

    QIODevice *device;
    PdfOptions options;
    BandSpool spool;
    QPDF pdf;
    ImageObjects images{pdf, spool};
    std::vector<QPDFObjectHandle> pages;
    std::vector<Bookmark> bookmarks;
    QPDFObjectHandle fontDictionary;
};

PdfWriter::PdfWriter(QIODevice *device, const PdfOptions &options)
    : document(std::make_unique<Document>(device, options))
{
}

PdfWriter::~PdfWriter() = default;

void PdfWriter::addPicture(const PdfPicture &picture, const QList<PdfSheet> &sheets, const SheetDone &done)
{
    withOwnErrors([&] { document->addPicture(picture, sheets, done); });
}

void PdfWriter::finish()
{
    withOwnErrors([&] { document->finish(); });
}
