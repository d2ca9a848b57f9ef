#include "steps.h"

#include <QCoreApplication>
#include <QFile>
#include <QHostAddress>
#include <QImageReader>
#include <QProcess>
#include <QTcpServer>

#include <chrono>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr double mebibyte = 1024.0 * 1024.0;
constexpr double allowedShare = 1.1;
constexpr double allowedRest = 60.0; // mebibytes, for Qt and the window

/// The time that a child process took, in seconds.
struct ProcessTimes
{
    double processor = 0.0;
    double elapsed = 0.0;
    bool succeeded = false;
};

double seconds(const timeval &time)
{
    return double(time.tv_sec) + 1e-6 * double(time.tv_usec);
}

/// The path of \a program in the folder of this one.
QByteArray siblingPath(const char *program)
{
    return QFile::encodeName(QCoreApplication::applicationDirPath()) + '/' + program;
}

/// A program in the folder of this one, and its arguments.
struct Command
{
    const char *program;
    QByteArrayList arguments;
};

/// While it exists, child processes show their windows on the screen, if there is
/// one; this process does not.
class ScreenForChildren
{
public:
    ScreenForChildren()
    {
        if (qEnvironmentVariableIsSet("DISPLAY")) {
            qputenv("QT_QPA_PLATFORM", "xcb");
        }
    }
    ~ScreenForChildren() { qputenv("QT_QPA_PLATFORM", usual); }
    ScreenForChildren(const ScreenForChildren &) = delete;
    ScreenForChildren &operator=(const ScreenForChildren &) = delete;

private:
    QByteArray usual = qgetenv("QT_QPA_PLATFORM");
};

/// Runs \a command to its end.
ProcessTimes runProcess(const Command &command)
{
    QByteArrayList texts = QByteArrayList{siblingPath(command.program)} + command.arguments;
    std::vector<char *> arguments;
    for (QByteArray &text : texts) {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    const ScreenForChildren screen;
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    int status = 0;
    rusage usage{};
    // Not QProcess: the copy of this process's page tables in its fork would count.
    const bool ran = posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0
        && wait4(child, &status, 0, &usage) == child;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), elapsed.count(),
            ran && WIFEXITED(status) && WEXITSTATUS(status) == 0};
}

void measureProcess(benchmark::State &state, const Command &command, double ProcessTimes::*time)
{
    for (auto _ : state) {
        const ProcessTimes times = runProcess(command);
        if (!times.succeeded) {
            state.SetLabel("the window was not painted");
        }
        state.SetIterationTime(times.*time);
    }
}

/// The same on a network that accepts every connection and never answers.
void measureOnSilentNetwork(benchmark::State &state, const Command &command, double ProcessTimes::*time)
{
    QTcpServer server;
    if (!server.listen(QHostAddress::LocalHost)) {
        state.SetLabel("cannot listen on the local host");
    }
    qputenv("QUILLMARCH_BENCH_PROXY", QByteArray::number(server.serverPort()));
    measureProcess(state, command, time);
    qunsetenv("QUILLMARCH_BENCH_PROXY");
}

QImage decoded(const QString &path)
{
    QImageReader::setAllocationLimit(0);
    QImageReader reader(path);
    reader.setAutoTransform(true);
    return reader.read();
}

} // namespace

std::vector<Comparison> startComparisons()
{
    const auto with = [](auto measured, const Command &command, double ProcessTimes::*time) {
        return [=](benchmark::State &state) { measured(state, command, time); };
    };
    constexpr auto processor = &ProcessTimes::processor;
    constexpr auto elapsed = &ProcessTimes::elapsed;
    const Command program{"bench-start", {}};
    const Command empty{"bench-start-empty", {}};
    const Command bars{"bench-start-empty", {"文件"}};
    const Command request{"bench-start-empty", {"文件", "https://updates.quillmarch.example/"}};
    const auto compare = [](const char *step, const char *against, double target, const Measured &measured,
                            const Measured &floor) {
        return Comparison{step, against, target, measured, floor, 1.0, Clock::Manual};
    };
    return {
        compare("start", "empty window", 1.5, with(measureProcess, program, processor),
                with(measureProcess, empty, processor)),
        compare("start", "bare bars", 1.5, with(measureProcess, program, processor),
                with(measureProcess, bars, processor)),
        compare("start", "bars, request", 1.5, with(measureProcess, program, processor),
                with(measureProcess, request, processor)),
        compare("start, elapsed", "empty window", 1.5, with(measureProcess, program, elapsed),
                with(measureProcess, empty, elapsed)),
        compare("start, elapsed", "bare bars", 1.5, with(measureProcess, program, elapsed),
                with(measureProcess, bars, elapsed)),
        compare("start, elapsed", "bars, request", 1.5, with(measureProcess, program, elapsed),
                with(measureProcess, request, elapsed)),
        compare("start, elapsed", "silent network", 1.1, with(measureOnSilentNetwork, program, elapsed),
                with(measureProcess, program, elapsed)),
    };
}

Row peakMemory(const SampleFile &file, const QString &pdfPath)
{
    Row row;
    row.step = "peak memory";
    row.image = file.name;
    row.unit = "MB";
    QProcess process;
    process.start(QFile::decodeName(siblingPath("bench-memory")), {file.path, pdfPath});
    process.waitForFinished(-1);
    bool ok = false;
    row.program = process.readAllStandardOutput().trimmed().toDouble(&ok) / mebibyte;
    if (!ok || process.exitCode() != 0) {
        row.failure = "bench-memory failed";
        return row;
    }
    const QImage pixels = decoded(file.path);
    row.floor = double(pixels.sizeInBytes()) / mebibyte;
    const bool hasTarget =
        pixels.depth() == 32; // other formats are converted in parts, or completely if they have a palette
    row.target = hasTarget ? "<= 1.1 x + 60" : "none";
    row.reached = !hasTarget || row.program <= allowedShare * row.floor + allowedRest;
    return row;
}
