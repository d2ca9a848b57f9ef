#include "batch/batchrun.h"
#include "batch/filename.h"

#ifdef Q_OS_WIN
#include <shellapi.h>
#include <windows.h>
#endif

namespace {

#ifdef Q_OS_WIN

/// The command line from the system: the arguments of main() lose every character
/// that is not in the code page.
QStringList commandLine(int, char *[])
{
    int count = 0;
    wchar_t **words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    QStringList arguments;
    for (int i = 0; i < count; ++i) {
        arguments.append(QString::fromWCharArray(words[i]));
    }
    ::LocalFree(words);
    return arguments;
}

#else

QStringList commandLine(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.append(nameFromBytes(argv[i]));
    }
    return arguments;
}

#endif

} // namespace

int main(int argc, char *argv[])
{
    return runBatch(commandLine(argc, argv));
}
