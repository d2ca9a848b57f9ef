#pragma once

#include "page/cutrule.h"

#include <QString>
#include <QStringList>

/// How one image becomes pages.
struct PageOptions
{
    int columns = 1; // 1 for one strip on a page, 2 for four strips in two columns
    int marginPercent = 10; // 0 to 30
    bool pageNumbers = false;
    bool trim = false;
    bool autoCut = true;
    bool lossless = false;
    CutRule cutRule = CutRule::Calm; // with autoCut
};

/// What a command line asks for.
struct BatchOptions
{
    PageOptions pages;
    QStringList images; // at least one
    QString output; // may be empty for a dry run
    int jobs = 1; // 1 to 64 processes
    bool json = false;
    bool quiet = false;
    bool dryRun = false;
};

struct CommandLine
{
    enum class Request {
        Convert,
        Serve, ///< read jobs from standard input: this is a worker process
        ShowHelp,
        ShowVersion,
        Refuse, ///< `mistake` is the error message
    };

    Request request = Request::Convert;
    BatchOptions options;
    QString mistake;
};

/// Parses \a arguments; the first is the name of the program.
CommandLine readCommandLine(const QStringList &arguments);

/// The text of `--help`. Needs an application object.
QString batchHelp();

/// The argument that makes the program a worker process of another one.
QString serveArgument();
