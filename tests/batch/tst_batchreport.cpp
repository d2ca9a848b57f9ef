#include "batch/batchreport.h"
#include "support/testmain.h"

#include <QJsonDocument>
#include <QRegularExpression>
#include <QScopeGuard>

#include <array>
#include <cstdio>

#ifdef Q_OS_LINUX
#include <csignal>
#include <pty.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

/// A temporary stream whose contents can be read back.
class Stream
{
public:
    Stream()
        : file(std::tmpfile())
    {
    }
    ~Stream() { std::fclose(file); }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;

    std::FILE *handle() const { return file; }
    QByteArray text() const
    {
        std::fflush(file);
        QByteArray bytes(std::ftell(file), '\0');
        std::rewind(file);
        bytes.resize(qsizetype(std::fread(bytes.data(), 1, size_t(bytes.size()), file)));
        return bytes;
    }

private:
    std::FILE *file;
};

BatchJob jobOf(int number, const QString &image, const QString &output)
{
    return {number, {{image, {}}}, output, 0};
}

BatchJob jobOf(const QStringList &images, const QString &output)
{
    BatchJob job{0, {}, output, 0};
    for (const QString &image : images) {
        job.images.append({image, {}});
    }
    return job;
}

/// The output of a report with \a options on \a event of \a job.
QByteArray outputOf(const BatchOptions &options, const BatchJob &job, const BatchEvent &event)
{
    const Stream output;
    const Stream errors;
    BatchReport report(options, 1, output.handle(), errors.handle(), {});
    report.report(job, event);
    return output.text();
}

} // namespace

class TestBatchReport : public QObject
{
    Q_OBJECT

private slots:
    void formatsTheTimeLeft_data();
    void formatsTheTimeLeft();
    void highestFailureDecides_data();
    void highestFailureDecides();
    void showsProgressFromTheStart();
    void replacesProgressOnATerminal();
    void fitsProgressIntoTheTerminal();
    void countsRunningFilesForTheTimeLeft_data();
    void countsRunningFilesForTheTimeLeft();
    void countsFailedFilesForTheTimeLeft();
    void writesNoProgressElsewhere();
    void describesResults_data();
    void describesResults();
    void describesResultsInJson_data();
    void describesResultsInJson();
    void writesALineForEachEvent();
    void namesTheImageThatFailed_data();
    void namesTheImageThatFailed();
    void sumsUpSeveralFiles_data();
    void sumsUpSeveralFiles();
    void showsTheWholeProgressIfTheWidthIsUnknown();
    void showsTheRateOfSeveralFiles();
    void writesALineOfProgressAtIntervals();
#ifdef Q_OS_LINUX
    void replacesLinesIfTheTerminalCan_data();
    void replacesLinesIfTheTerminalCan();
    void noticesThatNobodyReadsTheOutput();
    void failsIfTheOutputIsFull();
#endif
};

void TestBatchReport::formatsTheTimeLeft_data()
{
    QTest::addColumn<qint64>("elapsed");
    QTest::addColumn<double>("share");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing done") << qint64(5000) << 0.0 << QString();
    QTest::newRow("all done") << qint64(5000) << 1.0 << QString();
    QTest::newRow("half") << qint64(5000) << 0.5 << u"5 s left"_s;
    QTest::newRow("a quarter") << qint64(20000) << 0.25 << u"1 min 0 s left"_s;
    QTest::newRow("long") << qint64(3600000) << 0.25 << u"3 h 0 min left"_s;
    QTest::newRow("very long") << qint64(86400000) << 0.01 << u"2376 h 0 min left"_s;
}

void TestBatchReport::formatsTheTimeLeft()
{
    QFETCH(qint64, elapsed);
    QFETCH(double, share);
    QTEST(timeLeft(elapsed, share), "text");
}

void TestBatchReport::highestFailureDecides_data()
{
    QTest::addColumn<QList<int>>("failures"); // by file; 0 for success
    QTest::addColumn<int>("code");
    QTest::newRow("none") << QList<int>{0, 0} << 0;
    QTest::newRow("one") << QList<int>{0, 3, 0} << 3;
    QTest::newRow("rising") << QList<int>{3, 4, 5} << 5;
    QTest::newRow("falling") << QList<int>{5, 4, 3} << 5;
    QTest::newRow("at first") << QList<int>{4, 0, 3} << 4;
}

void TestBatchReport::highestFailureDecides()
{
    QFETCH(QList<int>, failures);
    QFETCH(int, code);
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), int(failures.size()), output.handle(), errors.handle(), {});
    for (int i = 0; i < int(failures.size()); ++i) {
        const BatchJob job = jobOf(i, u"a%1.png"_s.arg(i), u"a%1.pdf"_s.arg(i));
        report.report(job,
                      failures.at(i) == 0 ? BatchEvent(JobDone{1, 0, 0, {}})
                                          : BatchEvent(JobFailed{BatchFailure(failures.at(i)), u"broken"_s, {}}));
    }
    QCOMPARE(report.finish(), code);
    QCOMPARE(errors.text().count('\n'), failures.size() - failures.count(0));
}

void TestBatchReport::showsProgressFromTheStart()
{
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 2, output.handle(), errors.handle(), {ProgressPlace::Terminal, 80});
    report.report(jobOf(0, u"a.png"_s, u"a.pdf"_s), JobBegun());
    QCOMPARE(errors.text(), "\r\033[K0 of 2 files, 0 pages");
}

void TestBatchReport::replacesProgressOnATerminal()
{
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 2, output.handle(), errors.handle(), {ProgressPlace::Terminal, 80});
    const BatchJob job = jobOf(0, u"a.png"_s, u"a.pdf"_s);
    report.report(job, PageDone{1, 2});
    QVERIFY(errors.text().startsWith("\r\033[K0 of 2 files, 1 page"));
    report.report(job, JobDone{2, 0, 0, {}});
    QCOMPARE(output.text(), "a.png -> a.pdf: 2 pages\n");
    QVERIFY(errors.text().contains("\r\033[K\r\033[K1 of 2 files, 2 pages"));
    report.finish();
    QVERIFY(errors.text().endsWith("\r\033[K"));
    QVERIFY(!errors.text().contains('\n'));
}

void TestBatchReport::fitsProgressIntoTheTerminal()
{
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 2, output.handle(), errors.handle(), {ProgressPlace::Terminal, 12});
    report.report(jobOf(0, u"a.png"_s, u"a.pdf"_s), PageDone{1, 2});
    QCOMPARE(errors.text(), "\r\033[K0 of 2 file");
}

void TestBatchReport::countsRunningFilesForTheTimeLeft_data()
{
    QTest::addColumn<int>("page"); // of 100, of the first of two files
    QTest::addColumn<QString>("progress");
    QTest::newRow("too few pages") << 1 << u"0 of 2 files, 1 page$"_s;
    QTest::newRow("enough pages") << 50 << u"0 of 2 files, 50 pages, [0-9]+ s left$"_s;
}

void TestBatchReport::countsRunningFilesForTheTimeLeft()
{
    QFETCH(int, page);
    QFETCH(QString, progress);
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 2, output.handle(), errors.handle(), {ProgressPlace::Terminal, 80});
    report.report(jobOf(0, u"a.png"_s, u"a.pdf"_s), PageDone{page, 100});
    const QString text = QString::fromUtf8(errors.text());
    QVERIFY2(QRegularExpression(progress).match(text).hasMatch(), qPrintable(text));
}

void TestBatchReport::countsFailedFilesForTheTimeLeft()
{
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 2, output.handle(), errors.handle(), {ProgressPlace::Terminal, 80});
    report.report(jobOf(0, u"a.png"_s, u"a.pdf"_s), JobFailed{BatchFailure::Unreadable, u"broken"_s, {}});
    const QString text = QString::fromUtf8(errors.text());
    QVERIFY2(QRegularExpression(u"1 of 2 files, 0 pages, [0-9]+ s left$"_s).match(text).hasMatch(), qPrintable(text));
}

void TestBatchReport::writesNoProgressElsewhere()
{
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 1, output.handle(), errors.handle(), {});
    const BatchJob job = jobOf(0, u"a.png"_s, u"a.pdf"_s);
    report.report(job, PageDone{1, 1});
    report.report(job, JobDone{1, 0, 0, {}});
    QCOMPARE(report.finish(), 0);
    QCOMPARE(output.text(), "a.png -> a.pdf: 1 page\n");
    QCOMPARE(errors.text(), QByteArray());
}

void TestBatchReport::describesResults_data()
{
    QTest::addColumn<bool>("dryRun");
    QTest::addColumn<QStringList>("images");
    QTest::addColumn<QString>("output");
    QTest::addColumn<BatchEvent>("event");
    QTest::addColumn<QByteArray>("line");
    const QStringList one{u"a.png"_s};
    const QStringList two{u"a.png"_s, u"b.png"_s};
    const PictureFacts facts{1, 3, 0.5, {700, 1420}, QList<int>{1420}, 12, u"a remark"_s};
    PictureFacts plain{0, 1, 0.5, {}, std::nullopt, 0, {}};
    QTest::newRow("file") << false << one << u"a.pdf"_s << BatchEvent(JobDone{3, 9, 1, plain})
                          << QByteArray("a.png -> a.pdf: 3 pages\n");
    QTest::newRow("file with a remark") << false << one << u"a.pdf"_s << BatchEvent(JobDone{3, 9, 1, facts})
                                        << QByteArray("a.png -> a.pdf: 3 pages (a remark)\n");
    QTest::newRow("file of two images") << false << two << u"a.pdf"_s << BatchEvent(JobDone{1, 9, 1, std::nullopt})
                                        << QByteArray("2 images -> a.pdf: 1 page\n");
    QTest::newRow("only a preview") << false << one << QString() << BatchEvent(JobDone{3, 0, 1, plain})
                                    << QByteArray("a.png: 3 pages\n");
    QTest::newRow("dry run") << true << one << u"a.pdf"_s << BatchEvent(JobDone{3, 0, 1, facts})
                             << QByteArray("a.png: 3 pages; cuts: 700, 1420; through content: 1420; "
                                           "counted from row 12 of the image (a remark)\n");
    QTest::newRow("dry run without cuts")
        << true << one << QString() << BatchEvent(JobDone{1, 0, 1, plain}) << QByteArray("a.png: 1 page; cuts: none\n");
    plain.through = QList<int>();
    plain.cuts = {5};
    QTest::newRow("dry run with clean cuts")
        << true << one << QString() << BatchEvent(JobDone{2, 0, 1, plain}) << QByteArray("a.png: 2 pages; cuts: 5\n");
    QTest::newRow("picture") << false << two << u"a.pdf"_s << BatchEvent(PictureDone{u"b.png"_s, facts})
                             << QByteArray("b.png, picture 2: 3 pages (a remark)\n");
    QTest::newRow("picture of a file with a percent sign")
        << false << two << u"a.pdf"_s << BatchEvent(PictureDone{u"50%1%2.png"_s, facts})
        << QByteArray("50%1%2.png, picture 2: 3 pages (a remark)\n");
    QTest::newRow("picture of a dry run") << true << two << QString() << BatchEvent(PictureDone{u"b.png"_s, plain})
                                          << QByteArray("b.png, picture 1: 1 page; cuts: 5\n");
    plain.remark.clear();
    QTest::newRow("usual picture") << false << two << u"a.pdf"_s << BatchEvent(PictureDone{u"b.png"_s, plain})
                                   << QByteArray();
    QTest::newRow("page") << false << one << u"a.pdf"_s << BatchEvent(PageDone{1, 3}) << QByteArray();
}

void TestBatchReport::describesResults()
{
    QFETCH(bool, dryRun);
    QFETCH(QStringList, images);
    QFETCH(QString, output);
    QFETCH(BatchEvent, event);
    QFETCH(QByteArray, line);
    const BatchJob job = jobOf(images, output);
    BatchOptions options;
    options.dryRun = dryRun;
    QCOMPARE(outputOf(options, job, event), line);
    options.quiet = true;
    QCOMPARE(outputOf(options, job, event), QByteArray());
}

void TestBatchReport::describesResultsInJson_data()
{
    QTest::addColumn<QStringList>("images");
    QTest::addColumn<QString>("output");
    QTest::addColumn<BatchEvent>("event");
    QTest::addColumn<QByteArray>("names"); // of what the line has besides the facts
    QTest::addColumn<bool>("isQuiet"); // whether it is left out where only failures are wanted
    const QStringList one{u"a.png"_s};
    const QStringList two{u"a.png"_s, u"b.png"_s};
    const JobDone done{1, 9, 1, std::nullopt};
    QTest::newRow("begun") << one << u"a.pdf"_s << BatchEvent(JobBegun()) << QByteArray() << true;
    QTest::newRow("writing") << one << u"a.pdf"_s << BatchEvent(FileBegun{u"a.part"_s}) << QByteArray() << true;
    QTest::newRow("page") << one << u"a.pdf"_s << BatchEvent(PageDone{1, 2}) << QByteArray("image output") << true;
    QTest::newRow("file") << one << u"a.pdf"_s << BatchEvent(done) << QByteArray("image output") << false;
    QTest::newRow("file of two images") << two << u"a.pdf"_s << BatchEvent(done) << QByteArray("images output")
                                        << false;
    QTest::newRow("page of two images") << two << u"a.pdf"_s << BatchEvent(PageDone{1, 2}) << QByteArray("output")
                                        << true;
    QTest::newRow("no file") << one << QString() << BatchEvent(done) << QByteArray("image") << false;
}

void TestBatchReport::describesResultsInJson()
{
    QFETCH(QStringList, images);
    QFETCH(QString, output);
    QFETCH(BatchEvent, event);
    QFETCH(QByteArray, names);
    QFETCH(bool, isQuiet);
    const BatchJob job = jobOf(images, output);
    BatchOptions options;
    options.json = true;
    const QByteArray line = outputOf(options, job, event);
    if (names.isEmpty()) {
        QCOMPARE(line, QByteArray());
    } else {
        const QJsonObject about{{u"image"_s, u"a.png"_s}, {u"images"_s, 2}, {u"output"_s, output}};
        QJsonObject expected = toJson(event);
        for (const QByteArray &name : names.split(' ')) {
            expected.insert(QLatin1StringView(name), about.value(QLatin1StringView(name)));
        }
        QCOMPARE(QJsonDocument::fromJson(line).object(), expected);
    }
    options.quiet = true;
    QCOMPARE(outputOf(options, job, event), isQuiet ? QByteArray() : line);
}

void TestBatchReport::writesALineForEachEvent()
{
    BatchOptions options;
    options.json = true;
    const BatchJob job = jobOf(QStringList(u"a.png"_s), u"a.pdf"_s);
    QCOMPARE(outputOf(options, job, PageDone{1, 2}),
             R"({"event":"page","image":"a.png","output":"a.pdf","page":1,"pages":2})"
             "\n");
    QCOMPARE(outputOf(options, job, JobDone{2, 9, 1.5, std::nullopt}),
             R"({"bytes":9,"event":"done","image":"a.png","output":"a.pdf","pages":2,"seconds":1.5})"
             "\n");
}

void TestBatchReport::namesTheImageThatFailed_data()
{
    QTest::addColumn<QStringList>("images");
    QTest::addColumn<QString>("failed");
    QTest::addColumn<QByteArray>("line");
    const QStringList one{u"a.png"_s};
    const QStringList two{u"a.png"_s, u"b\n.png"_s};
    QTest::newRow("the only one") << one << QString() << QByteArray("quillmarch-batch: a.png: broken\n");
    QTest::newRow("the second one") << two << u"b\n.png"_s << QByteArray("quillmarch-batch: b?.png: broken\n");
    QTest::newRow("none of two") << two << QString() << QByteArray("quillmarch-batch: broken\n");
}

void TestBatchReport::namesTheImageThatFailed()
{
    QFETCH(QStringList, images);
    QFETCH(QString, failed);
    QFETCH(QByteArray, line);
    const BatchJob job = jobOf(images, u"a.pdf"_s);
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 1, output.handle(), errors.handle(), {});
    report.report(job, JobFailed{BatchFailure::Unreadable, u"broken"_s, failed});
    QCOMPARE(errors.text(), line);
    QCOMPARE(output.text(), QByteArray());
}

void TestBatchReport::sumsUpSeveralFiles_data()
{
    QTest::addColumn<int>("failures"); // of three files
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("all done") << 0 << QByteArray("3 of 3 files done, 6 pages\n");
    QTest::newRow("one failed") << 1 << QByteArray("2 of 3 files done, 4 pages, 1 failed\n");
    QTest::newRow("all failed") << 3 << QByteArray("0 of 3 files done, 0 pages, 3 failed\n");
}

void TestBatchReport::sumsUpSeveralFiles()
{
    QFETCH(int, failures);
    QFETCH(QByteArray, line);
    BatchOptions options;
    const auto summaryOf = [&](const BatchOptions &chosen) {
        const Stream output;
        const Stream errors;
        BatchReport report(chosen, 3, output.handle(), errors.handle(), {});
        for (int i = 0; i < 3; ++i) {
            const BatchEvent event = i < failures ? BatchEvent(JobFailed{BatchFailure::Unreadable, u"broken"_s, {}})
                                                  : BatchEvent(JobDone{2, 0, 0, {}});
            report.report(jobOf(i, u"a.png"_s, u"a.pdf"_s), event);
        }
        report.finish();
        return output.text();
    };
    QVERIFY(summaryOf(options).endsWith(line));
    options.quiet = true;
    QCOMPARE(summaryOf(options), QByteArray());
}

void TestBatchReport::showsTheWholeProgressIfTheWidthIsUnknown()
{
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 2, output.handle(), errors.handle(), {ProgressPlace::Terminal, 0});
    report.report(jobOf(0, u"a.png"_s, u"a.pdf"_s), PageDone{1, 200});
    QCOMPARE(errors.text(), "\r\033[K0 of 2 files, 1 page");
}

void TestBatchReport::showsTheRateOfSeveralFiles()
{
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 3, output.handle(), errors.handle(), {ProgressPlace::Terminal, 80});
    QTest::qSleep(5);
    for (int i = 0; i < 2; ++i) {
        report.report(jobOf(i, u"a.png"_s, u"a.pdf"_s), JobDone{2, 0, 0, {}});
    }
    const QString text = QString::fromUtf8(errors.text());
    const QRegularExpression progress(u"2 of 3 files, 4 pages, [0-9]+[.][0-9] files/s, [0-9]+ s left$"_s);
    QVERIFY2(progress.match(text).hasMatch(), qPrintable(text));
}

void TestBatchReport::writesALineOfProgressAtIntervals()
{
    constexpr int interval = 2000;
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 2, output.handle(), errors.handle(), {ProgressPlace::Lines, 0, interval});
    const BatchJob job = jobOf(0, u"a.png"_s, u"a.pdf"_s);
    QTest::qSleep(interval);
    report.report(job, PageDone{2, 4});
    report.report(job, PageDone{3, 4});
    const QString text = QString::fromUtf8(errors.text());
    const QRegularExpression progress(u"^0 of 2 files, 2 pages, [0-9]+ s left\n$"_s);
    QVERIFY2(progress.match(text).hasMatch(), qPrintable(text));
    QCOMPARE(ProgressPlace().lineInterval, 10000);
}

#ifdef Q_OS_LINUX
void TestBatchReport::replacesLinesIfTheTerminalCan_data()
{
    QTest::addColumn<QByteArray>("terminal");
    QTest::addColumn<ProgressPlace::Kind>("kind");
    QTest::addColumn<int>("width");
    QTest::newRow("usual") << QByteArray("xterm-256color") << ProgressPlace::Terminal << 77;
    QTest::newRow("dumb") << QByteArray("dumb") << ProgressPlace::Lines << 0;
    QTest::newRow("unknown") << QByteArray() << ProgressPlace::Lines << 0;
}

void TestBatchReport::replacesLinesIfTheTerminalCan()
{
    QFETCH(QByteArray, terminal);
    QFETCH(ProgressPlace::Kind, kind);
    QFETCH(int, width);
    const auto restore = qScopeGuard([old = qgetenv("TERM")] { qputenv("TERM", old); });
    qputenv("TERM", terminal);
    int leader = -1;
    int follower = -1;
    const winsize size{24, 77, 0, 0};
    QCOMPARE(::openpty(&leader, &follower, nullptr, nullptr, &size), 0);
    std::FILE *stream = ::fdopen(follower, "w");
    const ProgressPlace place = ProgressPlace::of(stream);
    std::fclose(stream);
    ::close(leader);
    QCOMPARE(place.kind, kind);
    QCOMPARE(place.width, width);
}

void TestBatchReport::noticesThatNobodyReadsTheOutput()
{
    const auto restore = qScopeGuard([old = std::signal(SIGPIPE, SIG_IGN)] { std::signal(SIGPIPE, old); });
    std::array<int, 2> ends{};
    QCOMPARE(::pipe(ends.data()), 0);
    ::close(ends[0]);
    std::FILE *unread = ::fdopen(ends[1], "w");
    const Stream read;
    const BatchEvent failed = JobFailed{BatchFailure::Unreadable, u"broken"_s, {}};
    const BatchEvent done = JobDone{1, 0, 0, {}};

    BatchReport withoutErrors(BatchOptions(), 2, read.handle(), unread, {});
    withoutErrors.report(jobOf(0, u"a.png"_s, u"a.pdf"_s), failed);
    withoutErrors.report(jobOf(1, u"b.png"_s, u"b.pdf"_s), done);
    QVERIFY(!withoutErrors.isPipeClosed()); // the messages alone are lost
    QCOMPARE(read.text(), "b.png -> b.pdf: 1 page\n");

    BatchReport withoutOutput(BatchOptions(), 1, unread, read.handle(), {});
    withoutOutput.report(jobOf(0, u"a.png"_s, u"a.pdf"_s), done);
    QVERIFY(withoutOutput.isPipeClosed());
    std::fclose(unread);
}

void TestBatchReport::failsIfTheOutputIsFull()
{
    std::FILE *full = std::fopen("/dev/full", "w");
    QVERIFY(full != nullptr);
    const Stream errors;
    BatchReport report(BatchOptions(), 1, full, errors.handle(), {});
    report.report(jobOf(0, u"a.png"_s, u"a.pdf"_s), JobDone{2, 0, 0, {}});
    QCOMPARE(report.finish(), int(BatchFailure::Unwritable));
    QCOMPARE(errors.text(), "quillmarch-batch: cannot write to the standard output\n");
    std::fclose(full);
}
#endif

QUILLMARCH_TEST_MAIN(TestBatchReport)
#include "tst_batchreport.moc"
