#pragma once

#include "batch/batcherror.h"
#include "batch/paper.h"
#include "page/cutrule.h"

#include <QList>
#include <QStringList>

#include <optional>

enum class PageLayout {
    Flow, ///< strips as high as the sheet allows
    Window, ///< the pages that the window exports
};

/// How the pictures of a file become pages.
struct PageOptions
{
    PageLayout layout = PageLayout::Flow;
    int columns = 1; // 1 to 4; at most 2 with the layout of the window
    Paper paper = *paperNamed(QStringLiteral("A4")); // turned already if it is in landscape
    Margin margin = {};
    bool pageNumbers = false;
    bool trim = false;
    std::optional<CutRule> cutRule = CutRule::Calm; // none for regular cuts
    bool lossless = false;
    int quality = 94; // of JPEG, 1 to 100
    bool acceptDamaged = false;
    QString title = {}; // of the document; empty for the name of the image
};

/// What a command line asks for.
struct BatchOptions
{
    PageOptions pages;
    QStringList operands; // images and folders
    QString filesFrom; // a list of more of them; empty for none
    bool isNulSeparated = false; // that list
    bool recursive = false;
    QString output; // may be empty for a dry run
    QString nameForm; // of a file in a folder
    bool noClobber = false;
    QString cutsFrom; // a list of cuts; empty for none
    QString preview; // a PNG file; empty for none
    int jobs = 0; // 1 to 64 processes, or 0 for one on each processor
    bool json = false;
    bool quiet = false;
    bool dryRun = false;

    QStringList arguments; // what a worker process needs to read the same options
};

struct CommandLine
{
    enum class Request {
        Convert,
        Serve, ///< read jobs from standard input: this is a worker process
        ShowHelp,
        ShowVersion,
        ShowCompletion, ///< for the shell `shell`
    };

    Request request = Request::Convert;
    BatchOptions options;
    QString shell;
};

/// Parses \a arguments; the first is the name of the program. Throws BatchError for a
/// wrong one.
[[nodiscard]] CommandLine readCommandLine(const QStringList &arguments);

/// The text of `--help`. Needs an application object.
[[nodiscard]] QString batchHelp();

/// What a shell has to know of an option.
struct OptionFacts
{
    QStringList names; // "o", "output"
    QString help;
    QString value; // what stands for it in the help; empty for an option without one
    QStringList choices; // the possible values, if they are few
    bool isFile = false; // whether any file is one
};
[[nodiscard]] QList<OptionFacts> optionFacts();

/// The argument that makes the program a worker process of another one.
[[nodiscard]] QString serveArgument();
