#include "core/ae_title_formatter.h"

#include <algorithm>

namespace gateway::core {

namespace {

constexpr qsizetype kLongestAETitle = 16;

bool isLegal(QChar character)
{
    return character >= u' ' && character <= u'~' && character != u'\\';
}

bool isAsciiLetterOrDigit(QChar character)
{
    return character.unicode() < 128 && character.isLetterOrNumber();
}

} // namespace

QString AETitleFormatter::format(const QString &text)
{
    QString legal;
    std::copy_if(text.begin(), text.end(), std::back_inserter(legal), isLegal);
    const QString title = legal.trimmed().left(kLongestAETitle).trimmed();
    const bool usable = std::any_of(title.begin(), title.end(), isAsciiLetterOrDigit);
    return usable ? title : QString();
}

} // namespace gateway::core
