#include "terminal/commands/suggested_commands.h"

#include <QtCore/QRegularExpression>

namespace gateway::terminal {

namespace {

QString quoted(const QString &word)
{
    static const QRegularExpression special(QStringLiteral("[^A-Za-z0-9_./:@%+=,-]"));
    if (!word.contains(special)) {
        return word;
    }
    return u'\'' + QString(word).replace(u'\'', QStringLiteral("'\\''")) + u'\'';
}

} // namespace

QString withOptions(const QString &text, const GlobalOptions &options)
{
    QString words;
    for (const auto &[name, value] : {std::pair("--home", options.home),
                                      std::pair("--cloud", options.cloudUrl),
                                      std::pair("--cloud-kind", options.cloudKind)}) {
        if (value) {
            words += QString::fromLatin1(name) + u' ' + quoted(*value) + u' ';
        }
    }
    // The user of the packaged unit has the program's name.
    static const QRegularExpression command(
        QStringLiteral("(?<!sudo -u )\\bquorin-gateway (?=[a-z]|--headless)"));
    QString told;
    qsizetype at = 0;
    for (auto found = command.globalMatch(text); found.hasNext();) {
        const qsizetype end = found.next().capturedEnd();
        told += text.mid(at, end - at) + words;
        at = end;
    }
    return told + text.mid(at);
}

} // namespace gateway::terminal
