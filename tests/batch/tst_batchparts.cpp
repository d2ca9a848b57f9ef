#include "batch/batchevent.h"
#include "batch/batchplan.h"
#include "batch/filename.h"
#include "batch/inputs.h"
#include "batch/partfile.h"
#include "batch/picturefile.h"
#include "batch/preview.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QScopeGuard>

#ifdef Q_OS_UNIX
#include "../faults/fulldisk.h"
#include "../faults/unprivileged.h"

#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

QStringList partFiles()
{
    return QDir::current().entryList({u"*.part"_s});
}

BatchOptions optionsFor(const QString &output)
{
    BatchOptions options;
    options.output = output;
    return options;
}

/// The message with which jobs for \a images are refused; empty if they are not.
QString planMistake(const QStringList &images, const BatchOptions &options)
{
    try {
        (void)planJobs(options, images);
        return {};
    } catch (const BatchError &error) {
        return error.failure == BatchFailure::WrongUse ? error.text : QString();
    }
}

QString commitError(PartFile &part)
{
    try {
        part.commit();
        return {};
    } catch (const BatchError &error) {
        return error.text;
    }
}

BatchJob jobOf(int number, const QString &image, const QString &output)
{
    return {number, {{image, {}}}, output, 0};
}

} // namespace

class TestBatchParts : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void plansOutputs_data();
    void plansOutputs();
    void plansOneFileOfSeveralImages();
    void namesFilesByAForm();
    void plansToReplaceNothingButPdfFiles();
    void plansPreviewsBesideOtherFiles_data();
    void plansPreviewsBesideOtherFiles();
    void givesManyEqualNamesNumbers();
    void refusesTwoNamesOfOneFile();
    void refusesImpossiblePlans();

    void readsStandardInputOnce_data();
    void readsStandardInputOnce();
    void sortsNaturally_data();
    void sortsNaturally();
    void keepsTheBytesOfNames_data();
    void keepsTheBytesOfNames();
    void readsCutLists();
    void rejectsCutLists_data();
    void rejectsCutLists();

    void eventsSurviveTheirJson_data();
    void eventsSurviveTheirJson();
    void jobsSurviveTheirJson();
    void rejectsOtherLines();

    void hidesControlCharacters();
    void drawsCutsOverTheSmallPicture();

    void partFileReplacesTheTargetOnCommit();
    void partFileIsRemovedUnlessCommitted();
    void partFileThatIsGoneReplacesNothing();
    void partFileKeepsPermissions();
    void partFileFollowsLinks();
    void completeFileIsNotRemoved();
    void opensANewFileOnlyOnce();
    void partFileRejects_data();
    void partFileRejects();
#ifdef Q_OS_UNIX
    void partFileReportsAFullDisk();
    void previewReportsAFullDisk_data();
    void previewReportsAFullDisk();
    void reportsWhatIsNotReadable();
#endif
};

void TestBatchParts::cleanup()
{
    QCOMPARE(partFiles(), QStringList());
}

void TestBatchParts::plansOutputs_data()
{
    QTest::addColumn<QStringList>("images");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QStringList>("outputs");
    QTest::addColumn<QString>("folder");
    const QString none;
    QTest::newRow("a file") << QStringList{u"x.png"_s} << u"y.pdf"_s << QStringList{u"y.pdf"_s} << none;
    QTest::newRow("no suffix is added") << QStringList{u"x.png"_s} << u"y"_s << QStringList{u"y"_s} << none;
    QTest::newRow("a folder by its slash")
        << QStringList{u"p/x.png"_s} << u"new/"_s << QStringList{u"new/x.pdf"_s} << u"new/"_s;
    QTest::newRow("an existing folder") << QStringList{u"p/x.png"_s} << u"there"_s << QStringList{u"there/x.pdf"_s}
                                        << u"there"_s;
    QTest::newRow("several") << QStringList{u"x.png"_s, u"/p/y.tar.jpg"_s, u"z"_s} << u"new"_s
                             << QStringList{u"new/x.pdf"_s, u"new/y.tar.pdf"_s, u"new/z.pdf"_s} << u"new"_s;
    QTest::newRow("same names") << QStringList{u"p/x.png"_s, u"q/x.png"_s, u"x.jpg"_s} << u"new"_s
                                << QStringList{u"new/x.pdf"_s, u"new/x-2.pdf"_s, u"new/x-3.pdf"_s} << u"new"_s;
    QTest::newRow("a name that is already taken")
        << QStringList{u"p/x.png"_s, u"q/x.png"_s, u"x-2.png"_s} << u"new"_s
        << QStringList{u"new/x.pdf"_s, u"new/x-2.pdf"_s, u"new/x-2-2.pdf"_s} << u"new"_s;
    QTest::newRow("names that differ in case")
        << QStringList{u"x.png"_s, u"X.png"_s} << u"new"_s << QStringList{u"new/x.pdf"_s, u"new/X-2.pdf"_s} << u"new"_s;
    QTest::newRow("the same image twice")
        << QStringList{u"x.png"_s, u"x.png"_s} << u"new"_s << QStringList{u"new/x.pdf"_s, u"new/x-2.pdf"_s} << u"new"_s;
    QTest::newRow("odd names") << QStringList{u".png"_s, u"folder/"_s, u"/"_s} << u"new"_s
                               << QStringList{u"new/.png.pdf"_s, u"new/folder.pdf"_s, u"new/image.pdf"_s} << u"new"_s;
}

void TestBatchParts::plansOutputs()
{
    QFETCH(QStringList, images);
    QFETCH(QString, output);
    QFETCH(QStringList, outputs);
    QFETCH(QString, folder);
    QVERIFY(QDir::current().mkpath(u"there"_s));
    const BatchPlan plan = planJobs(optionsFor(output), images);
    QCOMPARE(plan.folder, folder);
    QCOMPARE(plan.jobs.size(), images.size());
    for (qsizetype i = 0; i < images.size(); ++i) {
        QCOMPARE(plan.jobs.at(i).number, i);
        QCOMPARE(plan.jobs.at(i).images.size(), 1);
        QCOMPARE(plan.jobs.at(i).images.first().name, images.at(i));
        QCOMPARE(plan.jobs.at(i).output, outputs.at(i));
    }
    QVERIFY(!QFile::exists(u"new"_s));
}

void TestBatchParts::plansOneFileOfSeveralImages()
{
    const BatchPlan plan = planJobs(optionsFor(u"all.pdf"_s), {u"a.png"_s, u"-"_s, u"c.png"_s});
    QCOMPARE(plan.folder, QString());
    QCOMPARE(plan.jobs.size(), 1);
    QCOMPARE(plan.jobs.first().output, u"all.pdf"_s);
    QCOMPARE(plan.jobs.first().images.size(), 3);
    QCOMPARE(plan.jobs.first().images.at(2).name, u"c.png"_s);
    QCOMPARE(planJobs(optionsFor(u"-"_s), {u"a.png"_s, u"b.png"_s}).jobs.size(), 1);
}

void TestBatchParts::namesFilesByAForm()
{
    BatchOptions options = optionsFor(u"new/"_s);
    options.nameForm = u"{n}-{stem}.pdf"_s;
    const BatchPlan plan = planJobs(options, {u"p/x.png"_s, u"{n}.png"_s});
    QCOMPARE(plan.jobs.at(0).output, u"new/1-x.pdf"_s);
    QCOMPARE(plan.jobs.at(1).output, u"new/2-{n}.pdf"_s);
}

void TestBatchParts::plansToReplaceNothingButPdfFiles()
{
    savedBytes("an image", u"a.png"_s);
    savedBytes("%PDF-1.4 of before", u"named.pdf"_s);
    savedBytes("an image", u"picture.pdf"_s);
    QFile::link(u"a.png"_s, u"link.pdf"_s);
    const auto mistakeOf = [](const QStringList &images, const QString &output) {
        return planMistake(images, optionsFor(output));
    };
    QVERIFY(mistakeOf({u"a.png"_s}, u"./a.png"_s).contains(u"overwritten"_s));
    QVERIFY(mistakeOf({u"a.png"_s}, u"link.pdf"_s).contains(u"overwritten"_s));
    QVERIFY(mistakeOf({u"a.png"_s, u"named.pdf"_s}, u"."_s).contains(u"overwritten"_s));
    QVERIFY(mistakeOf({u"a.png"_s, u"b.png"_s}, u"a.png/"_s).contains(u"folder"_s));
    QVERIFY(mistakeOf({u"a.png"_s}, u"named.pdf/"_s).contains(u"folder"_s));
    QVERIFY(mistakeOf({u"b.png"_s}, u"a.png"_s).contains(u"no PDF file"_s));
    QVERIFY(mistakeOf({u"b.png"_s}, u"picture.pdf"_s).contains(u"no PDF file"_s));
    QVERIFY(mistakeOf({u"x/picture.png"_s}, u"."_s).contains(u"no PDF file"_s));
    QCOMPARE(mistakeOf({u"a.png"_s}, u"named.pdf"_s), QString());
    QCOMPARE(mistakeOf({u"no such.png"_s}, u"no such.pdf"_s), QString());
    BatchOptions careful = optionsFor(u"named.pdf"_s);
    careful.noClobber = true;
    QVERIFY(planMistake({u"a.png"_s}, careful).contains(u"exists already"_s));
    QFile::remove(u"link.pdf"_s);
}

void TestBatchParts::plansPreviewsBesideOtherFiles_data()
{
    QTest::addColumn<QString>("preview");
    QTest::addColumn<bool>("isDryRun");
    QTest::addColumn<QString>("mistake");
    for (const bool isDryRun : {false, true}) {
        const char *run = isDryRun ? "dry run" : "run";
        QTest::addRow("new file, %s", run) << u"new.png"_s << isDryRun << QString();
        QTest::addRow("image, %s", run) << u"./image.png"_s << isDryRun << u"overwritten"_s;
        QTest::addRow("link to the image, %s", run) << u"link.png"_s << isDryRun << u"overwritten"_s;
    }
    QTest::newRow("output") << u"./a.pdf"_s << false << u"written twice"_s;
    QTest::newRow("output of a dry run") << u"./a.pdf"_s << true << QString();
}

void TestBatchParts::plansPreviewsBesideOtherFiles()
{
    QFETCH(QString, preview);
    QFETCH(bool, isDryRun);
    QFETCH(QString, mistake);
    savedPicture(textPicture(70, 250), u"image.png"_s);
    QFile::link(u"image.png"_s, u"link.png"_s);
    BatchOptions options = optionsFor(u"a.pdf"_s);
    options.preview = preview;
    options.dryRun = isDryRun;
    const QString actual = planMistake({u"image.png"_s}, options);
    QVERIFY2(mistake.isEmpty() ? actual.isEmpty() : actual.contains(mistake), qPrintable(actual));
    QFile::remove(u"link.png"_s);
}

void TestBatchParts::givesManyEqualNamesNumbers()
{
    const QStringList images(20000, u"50%1.png"_s);
    QElapsedTimer timer;
    timer.start();
    const QList<BatchJob> jobs = planJobs(optionsFor(u"new/"_s), images + QStringList{u"50%1-2.png"_s}).jobs;
    QCOMPARE_LT(timer.elapsed(), 10000); // some 30 ms; if each name tried all before it, a minute
    QCOMPARE(jobs.at(0).output, u"new/50%1.pdf"_s);
    QCOMPARE(jobs.at(1).output, u"new/50%1-2.pdf"_s);
    QCOMPARE(jobs.at(19999).output, u"new/50%1-20000.pdf"_s);
    QCOMPARE(jobs.at(20000).output, u"new/50%1-2-2.pdf"_s);
}

void TestBatchParts::refusesTwoNamesOfOneFile()
{
    QVERIFY(QDir::current().mkpath(u"linked"_s));
    QFile::link(u"b.pdf"_s, u"linked/a.pdf"_s); // b.pdf does not exist yet
    QVERIFY(planMistake({u"a.png"_s, u"b.png"_s}, optionsFor(u"linked"_s)).contains(u"written twice"_s));
    QCOMPARE(planMistake({u"a.png"_s, u"c.png"_s}, optionsFor(u"linked"_s)), QString());
    QVERIFY(QDir(u"linked"_s).removeRecursively());
}

void TestBatchParts::refusesImpossiblePlans()
{
    BatchOptions named = optionsFor(u"a.pdf"_s);
    named.nameForm = u"{n}.pdf"_s;
    QVERIFY(planMistake({u"a.png"_s}, named).contains(u"--name"_s));
    QVERIFY(planMistake({u"a.png"_s, u"-"_s}, optionsFor(u"new/"_s)).contains(u"standard input"_s));
    BatchOptions preview = optionsFor(u"new/"_s);
    preview.preview = u"p.png"_s;
    QVERIFY(planMistake({u"a.png"_s, u"b.png"_s}, preview).contains(u"--preview"_s));
    savedBytes("no picture", u"p.png"_s);
    QVERIFY(planMistake({u"a.png"_s}, preview).contains(u"no PNG file"_s));
}

void TestBatchParts::readsStandardInputOnce_data()
{
    QTest::addColumn<QStringList>("images");
    QTest::addColumn<QString>("filesFrom");
    QTest::addColumn<QString>("cutsFrom");
    QTest::addColumn<bool>("isRefused");
    const QStringList input(u"-"_s);
    QTest::newRow("once") << input << QString() << QString() << false;
    QTest::newRow("in the list") << QStringList() << u"list"_s << QString() << false;
    QTest::newRow("two images") << input + input << QString() << QString() << true;
    QTest::newRow("image and names") << input << u"-"_s << QString() << true;
    QTest::newRow("image and cuts") << input << QString() << u"-"_s << true;
    QTest::newRow("names and cuts") << QStringList() << u"-"_s << u"-"_s << true;
    QTest::newRow("image, and in the list") << input << u"list"_s << QString() << true;
    QTest::newRow("cuts, and in the list") << QStringList() << u"list"_s << u"-"_s << true;
}

void TestBatchParts::readsStandardInputOnce()
{
    QFETCH(QStringList, images);
    QFETCH(QString, filesFrom);
    QFETCH(QString, cutsFrom);
    QFETCH(bool, isRefused);
    savedBytes("a.png\n-\n", u"list"_s);
    BatchOptions options;
    options.operands = images;
    options.filesFrom = filesFrom;
    options.cutsFrom = cutsFrom;
    QString mistake;
    try {
        (void)findImages(options);
    } catch (const BatchError &error) {
        mistake = error.text;
    }
    QCOMPARE(mistake, isRefused ? u"standard input can be read only once"_s : QString());
}

void TestBatchParts::sortsNaturally_data()
{
    QTest::addColumn<QStringList>("names"); // in order
    QTest::newRow("numbers") << QStringList{u"a1"_s, u"a2"_s, u"a10"_s, u"a100"_s};
    QTest::newRow("two numbers") << QStringList{u"a1-9"_s, u"a1-10"_s, u"a2-1"_s};
    QTest::newRow("zeros") << QStringList{u"a08"_s, u"a9"_s, u"a010"_s};
    QTest::newRow("case") << QStringList{u"a"_s, u"B"_s, u"c"_s};
    QTest::newRow("beginnings") << QStringList{u"a"_s, u"a1"_s, u"ab"_s};
    QTest::newRow("only case differs") << QStringList{u"A"_s, u"a"_s};
    QTest::newRow("full-width digits") << QStringList{u"a１0"_s, u"a１1"_s, u"a１２"_s, u"a２"_s};
    QTest::newRow("large") << QStringList{u"99999999999999999999"_s, u"100000000000000000000"_s};
}

void TestBatchParts::sortsNaturally()
{
    QFETCH(QStringList, names);
    for (qsizetype i = 0; i < names.size(); ++i) {
        for (qsizetype j = 0; j < names.size(); ++j) {
            QCOMPARE(isNaturallyBefore(names.at(i), names.at(j)), i < j);
        }
    }
}

void TestBatchParts::keepsTheBytesOfNames_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("plain") << QByteArray("a b.png");
    QTest::newRow("UTF-8") << QByteArray("\xe5\x90\x8d \xf0\x9f\x98\x80.png");
    QTest::newRow("Latin-1") << QByteArray("gr\xfc\xdf\x65.png");
    QTest::newRow("cut off") << QByteArray("a\xe5\x90");
    QTest::newRow("byte order marks") << QByteArray("\xef\xbb\xbf"
                                                    "a\xef\xbb\xbf.png");
    QTest::newRow("a surrogate in UTF-8") << QByteArray("\xed\xb2\x80");
    QTest::newRow("all bytes") << QByteArray("\x80\xff\xc0\x80\xfe");
}

void TestBatchParts::keepsTheBytesOfNames()
{
    QFETCH(QByteArray, bytes);
    const QString name = nameFromBytes(bytes);
    QCOMPARE(bytesOfName(name), bytes);
    const std::optional<BatchJob> passed = jobFromJson(jsonLine(toJson(jobOf(0, name, name))));
    QVERIFY(passed.has_value());
    QCOMPARE(bytesOfName(passed->images.first().name), bytes);
    QCOMPARE(bytesOfName(passed->output), bytes);
}

void TestBatchParts::readsCutLists()
{
    const QString list = savedBytes("{\"event\":\"done\",\"image\":\"a.png\",\"cuts\":[5,9]}\n\n"
                                    "{\"event\":\"picture\",\"image\":\"b.tif\",\"cuts\":[],\"index\":1}\n"
                                    "{\"event\":\"end\",\"files\":2}\n",
                                    u"cuts.txt"_s);
    const QHash<QString, FileCuts> cuts = readCutList(list);
    QCOMPARE(cuts.size(), 2);
    QCOMPARE(cuts.value(u"a.png"_s), (FileCuts{{0, {5, 9}}}));
    QCOMPARE(cuts.value(u"b.tif"_s), (FileCuts{{1, {}}}));
}

void TestBatchParts::rejectsCutLists_data()
{
    QTest::addColumn<QByteArray>("list");
    for (const char *list :
         {"", "text", R"({"image":"a","cuts":[9,5]})", R"({"image":"a","cuts":[0]})", R"({"image":"a","cuts":[5,5]})",
          R"({"image":"a","cuts":["5"]})", R"({"image":"a","cuts":5})", R"({"image":"a","cuts":"5"})",
          R"({"image":"a","cuts":null})", R"({"image":7,"cuts":[5]})", R"({"image":"a","cuts":[5],"index":"1"})",
          R"({"image":"a","cuts":[5],"index":0.5})", R"({"image":"a","cuts":[5],"index":-1})", R"({"event":"end"})"}) {
        QTest::newRow(list) << QByteArray(list);
    }
}

void TestBatchParts::rejectsCutLists()
{
    QFETCH(QByteArray, list);
    QVERIFY_THROWS_EXCEPTION(BatchError, (void)readCutList(savedBytes(list, u"cuts.txt"_s)));
}

void TestBatchParts::eventsSurviveTheirJson_data()
{
    QTest::addColumn<BatchEvent>("event");
    const PictureFacts facts{2, 12, 0.5, {700, 1420}, QList<int>{1420}, 12, u"a remark"_s};
    QTest::newRow("begun") << BatchEvent(JobBegun());
    QTest::newRow("writing") << BatchEvent(FileBegun{u"a \"b\"\n名.part"_s});
    QTest::newRow("page") << BatchEvent(PageDone{3, 12});
    QTest::newRow("picture") << BatchEvent(PictureDone{u"a.tif"_s, facts});
    QTest::newRow("done") << BatchEvent(JobDone{12, 5000000000, 1.25, facts});
    QTest::newRow("done with nothing to cut") << BatchEvent(JobDone{1, 7, 0.5, PictureFacts{0, 1, 1, {}, {}, 0, {}}});
    QTest::newRow("done with several pictures") << BatchEvent(JobDone{12, 0, 1.25, std::nullopt});
    QTest::newRow("failed") << BatchEvent(JobFailed{BatchFailure::TooLarge, u"broken"_s, u"a.png"_s});
}

void TestBatchParts::eventsSurviveTheirJson()
{
    QFETCH(BatchEvent, event);
    const QByteArray line = jsonLine(toJson(event));
    QCOMPARE(line.count('\n'), 1);
    const std::optional<BatchEvent> passed = eventFromJson(line);
    QVERIFY(passed.has_value());
    QVERIFY(*passed == event);
}

void TestBatchParts::jobsSurviveTheirJson()
{
    const BatchJob job{7, {{u"a\n\"名\".png"_s, {{1, {1, 5}}, {70, {}}}}, {u"b"_s, {}}}, u"b.pdf"_s, 3};
    const std::optional<BatchJob> passed = jobFromJson(jsonLine(toJson(job)));
    QVERIFY(passed.has_value());
    QCOMPARE(passed->number, 7);
    QCOMPARE(passed->images.size(), 2);
    QCOMPARE(passed->images.first().name, job.images.first().name);
    QCOMPARE(passed->images.first().cuts, job.images.first().cuts);
    QCOMPARE(passed->output, job.output);
    QCOMPARE(passed->threads, 3);
}

void TestBatchParts::rejectsOtherLines()
{
    for (const char *line :
         {"", "{}", "[]", "page", R"({"event":"lunch"})", R"({"images":["a.png"]})", "{\"event\":"}) {
        QVERIFY(!eventFromJson(line).has_value());
        QVERIFY(!jobFromJson(line).has_value());
    }
}

void TestBatchParts::hidesControlCharacters()
{
    QCOMPARE(printable(u"a\033[2J\nb\u009b名.png"_s), u"a?[2J?b?名.png"_s);
}

void TestBatchParts::drawsCutsOverTheSmallPicture()
{
    const QImage image = noisePicture(QSize(40, 60));
    QImage expected = image;
    for (const int y : {0, 1, 6, 7, 29, 30}) { // a cut at row 0 is drawn below its place
        for (int x = 0; x < expected.width(); ++x) {
            expected.setPixel(x, y, qRgb(255, 0, 0));
        }
    }
    QCOMPARE(previewOf(image, {0, 7, 30}), expected);

    const QImage small = previewOf(plainPicture(720, 100, Qt::white), {40});
    QCOMPARE(small.size(), QSize(360, 50));
    for (int y = 0; y < small.height(); ++y) {
        QCOMPARE(small.pixelColor(359, y), QColor(y == 19 || y == 20 ? Qt::red : Qt::white));
    }
}

void TestBatchParts::partFileReplacesTheTargetOnCommit()
{
    savedBytes("old", u"target.pdf"_s);
    PartFile part(QDir::current().filePath(u"target.pdf"_s));
    QCOMPARE(partFiles().size(), 1);
    QVERIFY(QRegularExpression(u"^quillmarch-[0-9]+[.]pdf[.]part$"_s).match(partFiles().first()).hasMatch());
    part.device().write("new");
    QCOMPARE(contentOf(u"target.pdf"_s), "old");
    part.commit();
    QCOMPARE(contentOf(u"target.pdf"_s), "new");
}

void TestBatchParts::partFileIsRemovedUnlessCommitted()
{
    savedBytes("old", u"target.pdf"_s);
    {
        const PartFile part(u"target.pdf"_s);
        QCOMPARE(partFiles().size(), 1);
    }
    QCOMPARE(partFiles(), QStringList());
    QCOMPARE(contentOf(u"target.pdf"_s), "old");
}

void TestBatchParts::partFileThatIsGoneReplacesNothing()
{
    savedBytes("old", u"target.pdf"_s);
    PartFile part(u"target.pdf"_s);
    QVERIFY(QFile::remove(part.name()));
    QCOMPARE(commitError(part), u"No such file or directory"_s);
    QCOMPARE(contentOf(u"target.pdf"_s), "old");
}

void TestBatchParts::partFileKeepsPermissions()
{
    const auto kept = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
    const auto shown = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
    savedBytes("old", u"target.pdf"_s);
    QVERIFY(QFile::setPermissions(u"target.pdf"_s, kept));
    PartFile part(u"target.pdf"_s);
    QCOMPARE(QFile::permissions(part.name()) & shown, (QFile::ReadOwner | QFile::WriteOwner) & shown);
    part.commit();
    QCOMPARE(QFile::permissions(u"target.pdf"_s) & shown, QFile::permissions(u"target.pdf"_s) & kept);

    QFile plain(u"plain.pdf"_s); // with the permissions of a file from any other program
    QVERIFY(plain.open(QIODevice::WriteOnly));
    PartFile fresh(u"fresh.pdf"_s);
    fresh.commit();
    QCOMPARE(QFile::permissions(u"fresh.pdf"_s), plain.permissions());
}

void TestBatchParts::partFileFollowsLinks()
{
    QVERIFY(QDir::current().mkpath(u"elsewhere"_s));
    savedBytes("old", u"elsewhere/real.pdf"_s);
    QFile::remove(u"link.pdf"_s);
    QVERIFY(QFile::link(u"elsewhere/real.pdf"_s, u"link.pdf"_s));
    PartFile part(u"link.pdf"_s);
    part.commit();
    QVERIFY(QFileInfo(u"link.pdf"_s).isSymLink());
    QCOMPARE(contentOf(u"elsewhere/real.pdf"_s), QByteArray());

    QVERIFY(QFile::remove(u"elsewhere/real.pdf"_s)); // the link is dangling now
    PartFile missing(u"link.pdf"_s);
    missing.commit();
    QVERIFY(QFileInfo(u"link.pdf"_s).isSymLink());
    QVERIFY(QFile::exists(u"elsewhere/real.pdf"_s));

    QFile::remove(u"second.pdf"_s);
    QVERIFY(QFile::link(QFileInfo(u"link.pdf"_s).absoluteFilePath(), u"second.pdf"_s));
    QCOMPARE(nameFromNative(targetOf("second.pdf")), QFileInfo(u"elsewhere/real.pdf"_s).canonicalFilePath());
}

void TestBatchParts::completeFileIsNotRemoved()
{
    PartFile part(u"complete.pdf"_s);
    const QString name = part.name();
    part.commit();
    savedBytes("of another process", name);
    removePartFiles(); // as at a signal
    QCOMPARE(contentOf(name), QByteArray("of another process"));
    QVERIFY(QFile::exists(u"complete.pdf"_s));
    QVERIFY(QFile::remove(name));
}

void TestBatchParts::opensANewFileOnlyOnce()
{
    savedBytes("taken", u"taken.part"_s);
    QFile file;
    QVERIFY(!openFile(file, u"taken.part"_s, QIODevice::WriteOnly | QIODevice::NewOnly).isEmpty());
    QVERIFY(!file.isOpen());
    QCOMPARE(contentOf(u"taken.part"_s), QByteArray("taken"));
    QCOMPARE(openFile(file, u"free.part"_s, QIODevice::WriteOnly | QIODevice::NewOnly), QString());
    QVERIFY(!openFile(file, u"third.part"_s, QIODevice::WriteOnly | QIODevice::NewOnly).isEmpty()); // it is open
    QVERIFY(!QFile::exists(u"third.part"_s));
    QVERIFY(QFile::remove(u"taken.part"_s) && QFile::remove(u"free.part"_s));
}

void TestBatchParts::partFileRejects_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("folder") << u"there"_s;
    QTest::newRow("device") << u"/dev/null"_s;
    QTest::newRow("no folder") << u"no such/target.pdf"_s;
#ifdef Q_OS_UNIX
    if (::geteuid() != 0) { // root may write everywhere
        QTest::newRow("protected file") << u"protected.pdf"_s;
        QTest::newRow("protected folder") << u"/target.pdf"_s;
    }
#endif
}

void TestBatchParts::partFileRejects()
{
    QFETCH(QString, target);
    QVERIFY(QDir::current().mkpath(u"there"_s));
    savedBytes("old", u"protected.pdf"_s);
    QFile::setPermissions(u"protected.pdf"_s, QFile::ReadOwner);
    QVERIFY_THROWS_EXCEPTION(BatchError, PartFile{target});
    QFile::setPermissions(u"protected.pdf"_s, QFile::ReadOwner | QFile::WriteOwner);
}

#ifdef Q_OS_UNIX
void TestBatchParts::partFileReportsAFullDisk()
{
    PartFile part(u"full.pdf"_s);
    part.device().write("new"); // into its buffer
    const FullDisk disk(0);
    QCOMPARE(commitError(part), u"File too large"_s);
    QVERIFY(!QFile::exists(u"full.pdf"_s));
}

void TestBatchParts::previewReportsAFullDisk_data()
{
    QTest::addColumn<QImage>("image");
    QTest::newRow("while it is written") << noisePicture(QSize(300, 300));
    QTest::newRow("at its end") << plainPicture(50, 50, Qt::blue);
}

void TestBatchParts::previewReportsAFullDisk()
{
    QFETCH(QImage, image);
    const FullDisk disk(0);
    try {
        writePreview(image, {}, u"full.png"_s);
        QFAIL("no error");
    } catch (const BatchError &error) {
        QVERIFY(error.failure == BatchFailure::Unwritable);
        QCOMPARE(error.text, u"cannot write \"full.png\": File too large"_s);
    }
    QVERIFY(!QFile::exists(u"full.png"_s));
}

void TestBatchParts::reportsWhatIsNotReadable()
{
    QVERIFY(QDir::current().mkpath(u"locked"_s));
    QVERIFY(QDir::current().mkpath(u"outer/locked"_s));
    savedBytes("bytes", u"locked.png"_s);
    QVERIFY(QFile::setPermissions(u"locked"_s, {}));
    QVERIFY(QFile::setPermissions(u"outer/locked"_s, {}));
    QVERIFY(QFile::setPermissions(u"locked.png"_s, {}));
    const auto unlock = qScopeGuard([] {
        QFile::setPermissions(u"locked"_s, QFile::ReadOwner | QFile::ExeOwner);
        QFile::setPermissions(u"outer/locked"_s, QFile::ReadOwner | QFile::ExeOwner);
        QFile::setPermissions(u"locked.png"_s, QFile::ReadOwner | QFile::WriteOwner);
    });
    const Unprivileged user;
    if (!user.isEffective()) {
        QSKIP("may read everything");
    }
    const auto reason = [](const auto &read) {
        try {
            read();
            return QString();
        } catch (const BatchError &error) {
            return error.failure == BatchFailure::Unreadable ? error.text : QString();
        }
    };
    QCOMPARE(reason([] { PictureFile(u"locked.png"_s); }), u"cannot read image: permission denied"_s);
    QCOMPARE(reason([] { PictureFile(u"locked/a.pdf"_s); }), u"cannot read image: PDF files are not supported"_s);
    BatchOptions options;
    options.operands = {u"locked"_s};
    QCOMPARE(reason([&] { (void)findImages(options); }), u"cannot read \"locked\": Permission denied"_s);
    options.recursive = true;
    options.operands = {u"outer"_s};
    QCOMPARE(reason([&] { (void)findImages(options); }), u"cannot read \"outer/locked\": Permission denied"_s);
    options.operands.clear();
    options.filesFrom = u"locked/list"_s;
    QCOMPARE(reason([&] { (void)findImages(options); }), u"cannot read \"locked/list\": Permission denied"_s);
    const QString unknown = planMistake({u"a.png"_s}, optionsFor(u"locked.png"_s));
    QVERIFY2(unknown.contains(u"exists and cannot be read: Permission denied; it is not replaced"_s),
             qPrintable(unknown));
}
#endif

QUILLMARCH_TEST_MAIN(TestBatchParts)
#include "tst_batchparts.moc"
