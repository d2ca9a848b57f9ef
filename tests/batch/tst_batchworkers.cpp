#include "batch/batchevent.h"
#include "batch/batchworkers.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QFile>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

BatchJob jobOf(int number, const QString &image, const QString &output)
{
    return {number, {{image, {}}}, output, 0};
}

constexpr auto simpleJob =
    "read job || exit 0; echo '{\"event\":\"begun\"}'; echo '{\"event\":\"done\",\"pages\":1}'\n";

/// Lets this process open \a spare more files, and no others, while the object lives.
/// Silences Qt, which prints each pipe that it cannot create.
class FewFiles
{
public:
    explicit FewFiles(int spare)
        : usualHandler(qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {}))
    {
        ::getrlimit(RLIMIT_NOFILE, &usualLimit);
        const rlimit few{64, usualLimit.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
        for (int file = 0; (file = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) {
            taken.append(file);
        }
        for (int i = 0; i < spare; ++i) {
            ::close(taken.takeLast());
        }
    }
    ~FewFiles()
    {
        for (const int file : taken) {
            ::close(file);
        }
        ::setrlimit(RLIMIT_NOFILE, &usualLimit);
        qInstallMessageHandler(usualHandler);
    }
    Q_DISABLE_COPY_MOVE(FewFiles)

private:
    QtMessageHandler usualHandler = nullptr;
    rlimit usualLimit{};
    QList<int> taken;
};

/// A worker program that is the shell script \a commands.
QString savedWorker(const QByteArray &commands)
{
    const QString script = savedBytes("#!/bin/sh\n" + commands, u"worker.sh"_s);
    QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return script;
}

/// How many jobs ended in which way.
struct JobCounts
{
    int done = 0;
    int failed = 0;
    int notStarted = 0; // of those that failed
};

/// Runs \a jobs jobs in \a count processes of the program \a worker.
JobCounts countsOf(const QString &worker, int jobs, int count)
{
    QList<BatchJob> list;
    for (int i = 0; i < jobs; ++i) {
        list.append(jobOf(i, QString::number(i), QString()));
    }
    JobCounts counts;
    BatchWorkers workers(worker, {}, list, [&](const BatchJob &, const BatchEvent &event) {
        counts.done += std::holds_alternative<JobDone>(event) ? 1 : 0;
        if (const auto *failure = std::get_if<JobFailed>(&event)) {
            const bool isStart = failure->text.startsWith("the worker process did not start: "_L1);
            counts.notStarted += isStart && failure->failure == BatchFailure::Unwritable ? 1 : 0;
            ++counts.failed;
        }
    });
    workers.run(count);
    return counts;
}

} // namespace

class TestBatchWorkers : public QObject
{
    Q_OBJECT

private slots:
    void survivesTheEndOfAWorker_data();
    void survivesTheEndOfAWorker();
    void failsJobsThatNoWorkerTakes_data();
    void failsJobsThatNoWorkerTakes();
    void leavesJobsToTheWorkersThatStart();
    void leavesAJobToAnIdleWorker();
};

void TestBatchWorkers::survivesTheEndOfAWorker_data()
{
    QTest::addColumn<QByteArray>("worker"); // shell commands; its files are named by its process
    QTest::addColumn<int>("done"); // of five jobs
    const QByteArray job = simpleJob;
    const QByteArray crash = "kill -SEGV $$\n";
    // As one does that its last file has damaged: the next job is not to blame.
    QTest::newRow("after each job") << job + crash << 5;
    // What it has written of a line is not the beginning of what the next one writes.
    QTest::newRow("in the middle of a line") << "read job || exit 0; [ -e half ] || { touch half; printf '{\"eve'; "
            + crash + "}; echo '{\"event\":\"done\",\"pages\":1}'\n" + job + job + job
            + job << 4;
    // The second one has finished no job, so its first one is to blame, and not tried for ever.
    QTest::newRow("before the first event")
        << "[ -e one ] && { read job; " + crash + "}; touch one\n" + job + crash << 1;
}

void TestBatchWorkers::survivesTheEndOfAWorker()
{
    QFETCH(QByteArray, worker);
    QFETCH(int, done);
    const JobCounts counts = countsOf(savedWorker(worker), 5, 1);
    QCOMPARE(counts.done, done);
    QCOMPARE(counts.failed, 5 - done);
}

void TestBatchWorkers::failsJobsThatNoWorkerTakes_data()
{
    QTest::addColumn<QString>("program"); // empty for one that works
    QTest::addColumn<int>("jobs");
    QTest::addColumn<int>("count");
    for (const int count : {1, 3}) {
        QTest::addRow("no files left, %d at a time", count) << QString() << 5 << count;
        QTest::addRow("no such program, %d at a time", count) << u"./none"_s << 5 << count;
    }
    QTest::newRow("many jobs") << QString() << 10000 << 2;
}

void TestBatchWorkers::failsJobsThatNoWorkerTakes()
{
    QFETCH(QString, program);
    QFETCH(int, jobs);
    QFETCH(int, count);
    const QString worker = program.isEmpty() ? savedWorker(simpleJob) : program;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    std::optional<FewFiles> files;
    if (program.isEmpty()) {
        files.emplace(0);
    }
    const JobCounts counts = countsOf(worker, jobs, count);
    QCOMPARE(counts.done, 0);
    QCOMPARE(counts.failed, jobs);
    QCOMPARE(counts.notStarted, jobs);
}

void TestBatchWorkers::leavesJobsToTheWorkersThatStart()
{
    const QString worker = savedWorker(QByteArray("while :; do ") + simpleJob + "done\n");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QList<int> done; // with more and more files, which are enough for none up to four workers
    for (int spare = 0; spare <= 40; ++spare) {
        const FewFiles files(spare);
        const JobCounts counts = countsOf(worker, 8, 4);
        QCOMPARE(counts.failed, counts.notStarted);
        QCOMPARE(counts.done + counts.failed, 8);
        done.append(counts.done);
    }
    const qsizetype enough = done.indexOf(8);
    QVERIFY(enough > 0);
    QCOMPARE(done.first(enough), QList<int>(enough, 0)); // one worker is enough for all
    QCOMPARE(done.mid(enough), QList<int>(done.size() - enough, 8));
}

void TestBatchWorkers::leavesAJobToAnIdleWorker()
{
    // The first worker to come is idle when the second one has crashed, just before its
    // second job, and cannot start again.
    const QString worker = savedWorker(QByteArray("if mkdir first 2>/dev/null; then\n"
                                                  "while [ ! -e taken ]; do sleep 0.01; done\n")
                                       + simpleJob + "touch idle\n" + simpleJob + "else\n" + simpleJob
                                       + "read job; touch taken\n"
                                         "while [ ! -e idle ]; do sleep 0.01; done\n"
                                         "sleep 0.2; chmod -x worker.sh; kill -SEGV $$\n"
                                         "fi\n");
    const JobCounts counts = countsOf(worker, 3, 2);
    QCOMPARE(counts.done, 3);
    QCOMPARE(counts.failed, 0);
}

QUILLMARCH_TEST_MAIN(TestBatchWorkers)
#include "tst_batchworkers.moc"
