#include "batch/batchreport.h"
#include "batch/batchworkers.h"
#include "batch/outofmemory.h"
#include "batch/partfile.h"
#include "faultruns.h"
#include "output/documentitems.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <new>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int gotOver = 100; // exit code of a process that an allocation failed without effect

// What the allocation functions below keep account of; only while `isWatching`.
bool isWatching = false;
int allocationsLeft = -1; // until one fails; -1 for never
bool isWaitingForItem = false; // none fails yet
std::array<void *, 4096> liveItems{}; // allocations of the size of a strip or a page

bool isItemSize(size_t size)
{
    return size == sizeof(PageItem) || size == sizeof(PreviewItem);
}

void *allocate(size_t size)
{
    isWaitingForItem = isWaitingForItem && !isItemSize(size);
    if (isWatching && !isWaitingForItem && allocationsLeft >= 0 && allocationsLeft-- == 0) {
        throw std::bad_alloc();
    }
    void *memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (isWatching && isItemSize(size)) {
        *std::find(liveItems.begin(), liveItems.end(), nullptr) = memory;
    }
    return memory;
}

void release(void *memory)
{
    if (memory != nullptr) {
        std::replace(liveItems.begin(), liveItems.end(), memory, static_cast<void *>(nullptr));
    }
    std::free(memory);
}

/// Lets the allocation after \a count others fail, for as long as it lives, and
/// watches strips and pages.
class FailingMemory
{
public:
    enum Start { AtOnce, AfterFirstItem };

    explicit FailingMemory(int count, Start start = AtOnce)
    {
        isWaitingForItem = start == AfterFirstItem;
        liveItems.fill(nullptr);
        allocationsLeft = count;
        isWatching = true;
    }
    ~FailingMemory() { isWatching = false; }
    Q_DISABLE_COPY_MOVE(FailingMemory)

    /// No allocation fails from now on.
    static void stop() { allocationsLeft = -1; }

    /// Whether the allocation was asked for. None fails from now on.
    static bool hasFailed() { return std::exchange(allocationsLeft, -1) < 0; }
};

qsizetype liveItemCount()
{
    return qsizetype(liveItems.size()) - std::count(liveItems.cbegin(), liveItems.cend(), nullptr);
}

QStringList partFiles()
{
    return QDir::current().entryList({u"*.part"_s});
}

/// Starts \a work in a process of its own, in which every signal has its usual effect.
pid_t startChild(const std::function<void()> &work)
{
    const pid_t child = ::fork();
    if (child == 0) {
        for (int number = 1; number < NSIG; ++number) {
            std::signal(number, SIG_DFL);
        }
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        work();
        ::_exit(0);
    }
    return child;
}

/// How many jobs have ended by the events in \a lines.
qsizetype endCount(const QByteArray &lines)
{
    qsizetype count = 0;
    for (const QByteArray &line : lines.split('\n')) {
        const std::optional<BatchEvent> event = eventFromJson(line);
        const bool isEnd =
            event && (std::holds_alternative<JobDone>(*event) || std::holds_alternative<JobFailed>(*event));
        count += isEnd ? 1 : 0;
    }
    return count;
}

/// Is a worker in which the allocation after \a count others fails. Called by
/// main() itself: a test function would catch what no worker catches.
int serveWithFailingMemory(int argc, char *argv[], int count)
{
    const QApplication app(argc, argv);
    removePartFileOnSignals();
    const FailingMemory memory(count);
    serveJobs({});
    return FailingMemory::hasFailed() ? gotOver : 0;
}

/// How \a child ended, as waitpid() states it.
int endOfChild(pid_t child)
{
    int status = 0;
    return ::waitpid(child, &status, 0) == child ? status : -1;
}

/// The job that converts \a image in one thread: the allocations are counted in order.
BatchJob jobOf(const QString &image, const QString &output)
{
    return {0, {{image, {}}}, output, 1};
}

/// Runs a job by the shell commands \a worker and returns how it failed.
JobFailed failureOfJob(const QByteArray &worker)
{
    const QString program = savedBytes("#!/bin/sh\n" + worker, u"worker"_s);
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    BatchEvent last;
    BatchWorkers workers(program, {}, {jobOf(u"a.png"_s, u"a.pdf"_s)},
                         [&last](const BatchJob &, const BatchEvent &event) { last = event; });
    workers.run(1);
    return std::get<JobFailed>(last);
}

} // namespace

void *operator new(size_t size)
{
    return allocate(size);
}

void *operator new[](size_t size)
{
    return allocate(size);
}

void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    try {
        return allocate(size);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void operator delete(void *memory) noexcept
{
    release(memory);
}

void operator delete[](void *memory) noexcept
{
    release(memory);
}

void operator delete(void *memory, size_t) noexcept
{
    release(memory);
}

void operator delete[](void *memory, size_t) noexcept
{
    release(memory);
}

class TestBatchFaults : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void namesTheFailureOfADeadWorker_data();
    void namesTheFailureOfADeadWorker();
    void workerThatDoesNotStartIsNoFaultOfTheImage();
    void failureWithoutAKnownCodeIsOne_data();
    void failureWithoutAKnownCodeIsOne();

    void signalAtAnyTimeLeavesNoPartFile();
    void signalRemovesEachPartFile_data();
    void signalRemovesEachPartFile();
    void signalRemovesThePartFile_data();
    void signalRemovesThePartFile();

    void itemsGoIfMemoryIsMissing();
    void documentGoesIfMemoryIsMissing();
    void workerWithoutMemoryEnds_data();
    void workerWithoutMemoryEnds();
    void uncaughtWantOfMemoryIsAnExitCode();
};

void TestBatchFaults::cleanup()
{
    for (const QString &name : QDir::current().entryList(QDir::Files)) {
        QFile::remove(name);
    }
}

void TestBatchFaults::namesTheFailureOfADeadWorker_data()
{
    QTest::addColumn<QByteArray>("commands");
    QTest::addColumn<BatchFailure>("failure");
    QTest::addColumn<QString>("words");
    const QByteArray writing = R"(echo '{"event":"writing","path":"made.part"}'; )";
    const QString memory = u"too large: out of memory"_s;
    const QString killed = u"the worker process was killed, possibly for lack of memory"_s;
    const auto row = [&](const char *name, const QByteArray &commands, BatchFailure reading, BatchFailure drawing,
                         const QString &words) {
        QTest::addRow("%s while reading", name) << commands << reading << words;
        QTest::addRow("%s while writing", name) << writing + commands << drawing << words;
    };
    row("killed", "kill -KILL $$", BatchFailure::TooLarge, BatchFailure::TooLarge, killed);
    row("without memory", "exit 5", BatchFailure::TooLarge, BatchFailure::TooLarge, memory);
    row("crashed", "kill -SEGV $$", BatchFailure::Unreadable, BatchFailure::Unwritable,
        u"the worker process crashed with signal 11"_s);
    row("aborted", "kill -ABRT $$", BatchFailure::Unreadable, BatchFailure::Unwritable,
        u"the worker process crashed with signal 6"_s);
    row("ended", "exit 0", BatchFailure::Unreadable, BatchFailure::Unwritable, u"the worker process ended early"_s);
    row("ended with 1", "exit 1", BatchFailure::Unreadable, BatchFailure::Unwritable,
        u"the worker process ended early"_s);
}

void TestBatchFaults::namesTheFailureOfADeadWorker()
{
    QFETCH(QByteArray, commands);
    QFETCH(BatchFailure, failure);
    QFETCH(QString, words);
    savedBytes("half of a file", u"made.part"_s);
    const JobFailed event = failureOfJob(commands);
    QCOMPARE(event.text, words);
    QCOMPARE(int(event.failure), int(failure));
    QCOMPARE(partFiles().isEmpty(), commands.contains("writing"));
}

void TestBatchFaults::workerThatDoesNotStartIsNoFaultOfTheImage()
{
    QList<JobFailed> events;
    BatchWorkers workers(
        QDir::current().filePath(u"none"_s), {}, {jobOf(u"a.png"_s, u"a.pdf"_s), jobOf(u"b.png"_s, u"b.pdf"_s)},
        [&events](const BatchJob &, const BatchEvent &event) { events.append(std::get<JobFailed>(event)); });
    workers.run(2);
    QCOMPARE(events.size(), 2);
    for (const JobFailed &event : events) {
        QVERIFY2(event.text.startsWith(u"the worker process did not start: "_s), qPrintable(event.text));
        QCOMPARE(int(event.failure), 4);
    }
}

void TestBatchFaults::failureWithoutAKnownCodeIsOne_data()
{
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("none") << QByteArray() << 4;
    for (const char *code : {"0", "1", "2", "6", "-1", "256", "1e300", "3.5", "\"3\"", "null", "[5]"}) {
        QTest::newRow(code) << ",\"code\":" + QByteArray(code) << 4;
    }
    for (const int code : {3, 4, 5}) {
        QTest::addRow("%d", code) << ",\"code\":" + QByteArray::number(code) << code;
    }
}

void TestBatchFaults::failureWithoutAKnownCodeIsOne()
{
    QFETCH(QByteArray, code);
    QFETCH(int, exitCode);
    const std::optional<BatchEvent> event = eventFromJson(R"({"event":"failed","message":"broken")" + code + '}');
    QVERIFY(event.has_value());
    const auto failure = std::get<JobFailed>(*event);
    QCOMPARE(failure.text, u"broken"_s);
    QCOMPARE(int(failure.failure), exitCode);
}

void TestBatchFaults::signalAtAnyTimeLeavesNoPartFile()
{
    QRandomGenerator chance(1);
    for (int run = 0; run < faultRuns(200); ++run) {
        std::array<int, 2> ready{};
        QCOMPARE(::pipe(ready.data()), 0);
        const pid_t child = startChild([&ready] {
            removePartFileOnSignals();
            char sign = '.';
            while (::write(ready[1], &sign, 1) == 1) {
                ::close(std::exchange(ready[1], ::open("/dev/null", O_WRONLY)));
                const PartFile part(u"target.pdf"_s);
            }
        });
        QVERIFY(child > 0);
        char sign = 0;
        QCOMPARE(::read(ready[0], &sign, 1), ssize_t(1));
        ::usleep(useconds_t(chance.bounded(500))); // a different place of its loop each time
        ::kill(child, SIGTERM);
        const int status = endOfChild(child);
        ::close(ready[0]);
        ::close(ready[1]);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGTERM);
        QVERIFY2(partFiles().isEmpty(), qPrintable(u"run %1"_s.arg(run)));
    }
}

void TestBatchFaults::signalRemovesEachPartFile_data()
{
    QTest::addColumn<int>("gone"); // the part file that went before; -1 for none
    QTest::newRow("all of them") << -1;
    QTest::newRow("without the first") << 0;
    QTest::newRow("without the second") << 1;
    QTest::newRow("without the third") << 2;
}

void TestBatchFaults::signalRemovesEachPartFile()
{
    QFETCH(int, gone);
    const pid_t child = startChild([gone] {
        removePartFileOnSignals();
        std::array<std::unique_ptr<PartFile>, 3> parts;
        for (std::unique_ptr<PartFile> &part : parts) {
            part = std::make_unique<PartFile>(u"target.pdf"_s);
        }
        if (gone >= 0) {
            parts.at(size_t(gone)).reset();
        }
        if (partFiles().size() == (gone >= 0 ? 2 : 3)) {
            std::raise(SIGTERM);
        }
    });
    const int status = endOfChild(child);
    QVERIFY(WIFSIGNALED(status));
    QCOMPARE(WTERMSIG(status), SIGTERM);
    QCOMPARE(partFiles(), QStringList());
}

void TestBatchFaults::signalRemovesThePartFile_data()
{
    QTest::addColumn<int>("number");
    for (const int number :
         {SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGQUIT, SIGXCPU, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV}) {
        QTest::newRow(::strsignal(number)) << number;
    }
}

void TestBatchFaults::signalRemovesThePartFile()
{
    QFETCH(int, number);
    const pid_t child = startChild([number] {
        removePartFileOnSignals();
        const PartFile part(u"target.pdf"_s);
        if (!partFiles().isEmpty()) {
            std::raise(number);
        }
    });
    const int status = endOfChild(child);
    QVERIFY(WIFSIGNALED(status));
    QCOMPARE(WTERMSIG(status), number);
    QCOMPARE(partFiles(), QStringList());
}

void TestBatchFaults::itemsGoIfMemoryIsMissing()
{
    const QPixmap source = QPixmap::fromImage(textPicture(70, 550)); // 6 strips, 2 pages of two columns
    bool hasFailed = true;
    int failures = 0;
    while (hasFailed) {
        const FailingMemory memory(failures);
        DocumentItems items;
        try {
            items = makeDocumentItems(source, 10);
        } catch (const std::bad_alloc &) {
        }
        hasFailed = FailingMemory::hasFailed();
        QCOMPARE(liveItemCount(), items.strips.size() + items.oneColumnPages.size() + items.twoColumnPages.size());
        qDeleteAll(items.oneColumnPages);
        qDeleteAll(items.twoColumnPages);
        qDeleteAll(items.strips);
        QCOMPARE(liveItemCount(), 0);
        failures += hasFailed ? 1 : 0;
    }
    QVERIFY2(failures >= 14, qPrintable(QString::number(failures))); // one for each item
}

void TestBatchFaults::documentGoesIfMemoryIsMissing()
{
    const BatchJob job = jobOf(savedPicture(textPicture(70, 550), u"a.png"_s), u"a.pdf"_s);
    BatchOptions options;
    options.pages.layout = PageLayout::Window; // which is taken from items
    bool hasFailed = true;
    int failures = 0;
    for (; hasFailed; ++failures) {
        const FailingMemory memory(failures, FailingMemory::AfterFirstItem);
        hasFailed = false;
        try {
            runJob(job, options, [](const BatchEvent &) { FailingMemory::stop(); });
        } catch (const std::bad_alloc &) {
            hasFailed = true;
        }
        QVERIFY2(liveItemCount() == 0, qPrintable(u"allocation %1"_s.arg(failures)));
        QCOMPARE(partFiles(), QStringList());
    }
    QVERIFY2(failures > 14, qPrintable(QString::number(failures))); // also after the items
}

void TestBatchFaults::workerWithoutMemoryEnds_data()
{
    QTest::addColumn<int>("first");
    for (const int first : {0, 3, 7, 11, 17, 23}) {
        QTest::addRow("from allocation %d", first) << first;
    }
}

void TestBatchFaults::workerWithoutMemoryEnds()
{
    QFETCH(int, first);
    const BatchJob job = jobOf(savedPicture(textPicture(70, 150), u"a.png"_s), u"a.pdf"_s);
    savedBytes(jsonLine(toJson(job)) + jsonLine(toJson(job)), u"jobs"_s); // the second meets what is left of the first
    int failures = 0;
    for (int count = first, code = -1; code != 0; count += 101) {
        QProcess worker;
        worker.setStandardInputFile(u"jobs"_s);
        worker.start(QCoreApplication::applicationFilePath(), {serveArgument(), QString::number(count)});
        QVERIFY2(worker.waitForFinished(), qPrintable(u"allocation %1"_s.arg(count))); // or it hangs
        QCOMPARE(worker.exitStatus(), QProcess::NormalExit);
        code = worker.exitCode();
        const qsizetype ends = endCount(worker.readAllStandardOutput());
        QVERIFY2(code == 5 ? ends < 2 : ends == 2, qPrintable(u"allocation %1: %2"_s.arg(count).arg(code)));
        QCOMPARE(partFiles(), QStringList());
        failures += code == 5 ? 1 : 0;
    }
    QVERIFY2(failures > 3, qPrintable(QString::number(failures)));
}

void TestBatchFaults::uncaughtWantOfMemoryIsAnExitCode()
{
    const auto endOf = [](const std::function<void()> &mistake) {
        return endOfChild(startChild([&mistake] {
            exitWhenOutOfMemory([] { throw std::bad_alloc(); }); // the last words find no memory, either
            removePartFileOnSignals();
            const PartFile part(u"target.pdf"_s);
            [&mistake]() noexcept { mistake(); }();
        }));
    };
    const int status = endOf([] { throw std::bad_alloc(); });
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), 5);
    QCOMPARE(partFiles(), QStringList());

    for (const std::function<void()> &mistake : {std::function<void()>([] { throw 1; }), {[] { std::terminate(); }}}) {
        const int other = endOf(mistake);
        QVERIFY(WIFSIGNALED(other));
        QCOMPARE(WTERMSIG(other), SIGABRT);
        QCOMPARE(partFiles(), QStringList());
    }
}

int main(int argc, char *argv[])
{
    if (argc == 3 && QLatin1StringView(argv[1]) == serveArgument()) {
        return serveWithFailingMemory(argc, argv, std::atoi(argv[2]));
    }
    PrivateHome home;
    const QApplication app(argc, argv);
    TestBatchFaults test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_batchfaults.moc"
