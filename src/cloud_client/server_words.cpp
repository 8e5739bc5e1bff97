#include "cloud_client/server_words.h"

#include <QtCore/QList>
#include <QtCore/QRegularExpression>

namespace gateway::cloud_client {

namespace {

/// Sequences that a terminal obeys (ECMA-48): with parameters, with a text up to its end, and of two
/// characters.
QString withoutEscapes(QString text)
{
    static const QRegularExpression sequence(QStringLiteral(
        "(?:\\x1b\\[|\\x9b)[0-?]*[ -/]*[@-~]"
        "|(?:\\x1b[\\]PX^_]|[\\x90\\x98\\x9d-\\x9f])[^\\x07\\x1b\\x9c]*(?:\\x07|\\x9c|\\x1b\\\\)?"
        "|\\x1b[ -/]*[0-~]?"));
    return text.remove(sequence);
}

/// Joiners shape words of some scripts, and do nothing else.
bool isJoiner(char32_t letter)
{
    return letter == 0x200C || letter == 0x200D;
}

/// Controls, formats, lone surrogates, and what no script has: the categories of Unicode that begin with C.
bool isShown(char32_t letter)
{
    const QChar::Category category = QChar::category(letter);
    return isJoiner(letter) || category < QChar::Other_Control || category > QChar::Other_NotAssigned;
}

bool isBreak(char32_t letter)
{
    const QChar::Category category = QChar::category(letter);
    return letter == U'\n' || category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
}

} // namespace

QString cleanServerText(const QString &text)
{
    QList<char32_t> kept;
    for (const char32_t letter : withoutEscapes(text).toStdU32String()) {
        if (isBreak(letter)) {
            kept.append(U'\n');
        } else if (letter == U'\t') {
            kept.append(U' ');
        } else if (isShown(letter)) {
            kept.append(letter);
        }
    }
    return QString::fromUcs4(kept.constData(), kept.size());
}

QString cleanServerWords(const QString &words, qsizetype limit)
{
    const QString line = cleanServerText(words).simplified();
    const std::u32string letters = line.toStdU32String();
    const auto length = static_cast<qsizetype>(letters.size());
    return length <= limit ? line : QString::fromUcs4(letters.data(), limit - 1) + u'…';
}

QString withoutSecrets(QString words, const QByteArrayList &secrets)
{
    for (const QByteArray &secret : secrets) {
        if (!secret.isEmpty()) {
            words.replace(QString::fromUtf8(secret), QStringLiteral("…"));
        }
    }
    return words;
}

} // namespace gateway::cloud_client
