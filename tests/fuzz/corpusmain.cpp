#include "fuzzing.h"
#include "mutations.h"
#include "support/privatehome.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// The absolute names of the files in \a paths, including those in folders,
/// sorted.
QStringList filesOf(const QStringList &paths)
{
    QStringList files;
    for (const QString &path : paths) {
        if (QFileInfo(path).isDir()) {
            for (QDirIterator it(path, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
                files.append(QFileInfo(it.next()).absoluteFilePath());
            }
        } else {
            files.append(QFileInfo(path).absoluteFilePath());
        }
    }
    files.sort();
    return files;
}

QByteArray readInput(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("Cannot read %s: %s", qPrintable(path), qPrintable(file.errorString()));
    }
    return file.readAll();
}

/// Runs one input. Saves it next to the program first, to have it after a crash.
void runInput(const QByteArray &bytes)
{
    writeChanged(QCoreApplication::applicationDirPath() + "/last-input"_L1, bytes);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.constData()), size_t(bytes.size()));
}

} // namespace

int main(int argc, char *argv[])
{
    const QString startFolder = QDir::currentPath();
    PrivateHome home;
    QApplication app(argc, argv);
    PrivateHome::removeConfigFile();
    QCommandLineParser parser;
    parser.addOption({u"mutations"_s, u"Also run <count> mutations of each input."_s, u"count"_s, u"0"_s});
    parser.addPositionalArgument(u"paths"_s, u"Inputs, or folders of inputs."_s);
    parser.addHelpOption();
    parser.process(app);

    const QString workFolder = QDir::currentPath();
    QDir::setCurrent(startFolder);
    QList<QByteArray> corpus;
    const QStringList files = filesOf(parser.positionalArguments());
    for (const QString &file : files) {
        corpus.append(readInput(file));
    }
    QDir::setCurrent(workFolder);

    const int mutations = parser.value(u"mutations"_s).toInt();
    for (qsizetype i = 0; i < corpus.size(); ++i) {
        std::printf("%s\n", qPrintable(QFileInfo(files.at(i)).fileName()));
        std::fflush(stdout);
        runInput(corpus.at(i));
        std::mt19937 random(quint32(i) + 1);
        for (int k = 0; k < mutations; ++k) {
            runInput(mutated(corpus, i, random));
        }
    }
    std::printf("%lld inputs, %lld of them mutations\n", static_cast<long long>(corpus.size() * (mutations + 1)),
                static_cast<long long>(corpus.size() * mutations));
    return corpus.isEmpty() ? 1 : 0;
}
