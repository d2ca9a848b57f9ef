#include "batch/completion.h"

#include "batch/batchoptions.h"

using namespace Qt::StringLiterals;

namespace {

/// "-o" and "--output", as the names of \a option are typed.
QStringList typedNames(const OptionFacts &option)
{
    QStringList names;
    for (const QString &name : option.names) {
        names.append((name.size() == 1 ? u"-"_s : u"--"_s) + name);
    }
    return names;
}

/// The branch of a shell's "case" for the value of \a option.
QString bashBranch(const OptionFacts &option)
{
    const QString values =
        option.isFile ? u"compgen -f -- \"$word\""_s : u"compgen -W '%1' -- \"$word\""_s.arg(option.choices.join(u' '));
    return u"        %1) mapfile -t COMPREPLY < <(%2); return ;;\n"_s.arg(typedNames(option).join(u'|'), values);
}

QString bashCompletion()
{
    QString branches;
    QStringList names;
    for (const OptionFacts &option : optionFacts()) {
        names += typedNames(option);
        branches += option.value.isEmpty() ? QString() : bashBranch(option);
    }
    return uR"(# bash completion for quillmarch-batch
_quillmarch_batch()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
    case $before in
%1    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '%2' -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}
complete -o filenames -F _quillmarch_batch quillmarch-batch
)"_s.arg(branches, names.join(u' '));
}

/// \a text inside single quotes of a shell.
QString quotedHelp(const QString &text)
{
    return QString(text).replace(u"'"_s, u"'\\''"_s);
}

QString zshLine(const OptionFacts &option)
{
    const QStringList names = typedNames(option);
    const QString help = quotedHelp(option.help).replace(u'[', u'(').replace(u']', u')').replace(u":"_s, u"\\:"_s);
    const QString values = option.isFile ? u"_files"_s : u"(%1)"_s.arg(option.choices.join(u' '));
    const QString value = option.value.isEmpty() ? QString() : u":value:"_s + values;
    const QString name =
        names.size() == 1 ? u"'%1["_s.arg(names.first()) : u"'(%1)'{%2}'["_s.arg(names.join(u' '), names.join(u','));
    return u"    %1%2]%3' \\\n"_s.arg(name, help, value);
}

QString zshCompletion()
{
    QString lines;
    for (const OptionFacts &option : optionFacts()) {
        lines += zshLine(option);
    }
    return u"#compdef quillmarch-batch\n_arguments -s -S \\\n%1    '*:image:_files'\n"_s.arg(lines);
}

QString fishLine(const OptionFacts &option)
{
    QString line = u"complete -c quillmarch-batch"_s;
    for (const QString &name : option.names) {
        line += (name.size() == 1 ? u" -s "_s : u" -l "_s) + name;
    }
    if (!option.value.isEmpty()) {
        line += option.isFile ? u" -r -F"_s : u" -x -a '%1'"_s.arg(option.choices.join(u' '));
    }
    return line + u" -d '%1'\n"_s.arg(QString(option.help).replace(u"'"_s, u"\\'"_s));
}

QString fishCompletion()
{
    QString lines = u"# fish completion for quillmarch-batch\n"_s;
    for (const OptionFacts &option : optionFacts()) {
        lines += fishLine(option);
    }
    return lines;
}

} // namespace

QString completionFor(const QString &shell)
{
    if (shell == "bash"_L1) {
        return bashCompletion();
    }
    if (shell == "zsh"_L1) {
        return zshCompletion();
    }
    if (shell == "fish"_L1) {
        return fishCompletion();
    }
    throw BatchError(BatchFailure::WrongUse, u"--completion must be bash, zsh or fish, not \"%1\""_s.arg(shell));
}
