#include "browser/search_texts.h"

#include <cstring>
#include <utility>

namespace gateway::browser {

namespace {

/// Writes `text` in lower case, one byte a character. \return false when a character isn't ASCII.
bool lowerAscii(QStringView text, char *to)
{
    char16_t seen = 0;
    for (const QChar each : text) {
        const char16_t unit = each.unicode();
        seen = static_cast<char16_t>(seen | unit);
        const bool isCapital = unit >= u'A' && unit <= u'Z';
        *to++ = static_cast<char>(isCapital ? unit + (u'a' - u'A') : unit);
    }
    return seen < 0x80;
}

} // namespace

void SearchTexts::add(std::initializer_list<QStringView> fields)
{
    bool isFirst = true;
    for (const QStringView field : fields) {
        if (!std::exchange(isFirst, false)) {
            m_bytes.append(' ');
        }
        addLowerCased(field);
    }
    m_ends.push_back(m_bytes.size());
}

void SearchTexts::addLowerCased(QStringView field)
{
    const qsizetype begin = m_bytes.size();
    m_bytes.resize(begin + field.size());
    if (!lowerAscii(field, m_bytes.data() + begin)) {
        m_bytes.truncate(begin);
        m_bytes.append(field.toString().toLower().toUtf8());
    }
}

bool SearchTexts::contains(std::size_t row, const QByteArray &needle) const
{
    const qsizetype begin = row == 0 ? 0 : m_ends[row - 1];
    return ::memmem(m_bytes.constData() + begin,
                    static_cast<std::size_t>(m_ends[row] - begin),
                    needle.constData(),
                    static_cast<std::size_t>(needle.size())) != nullptr;
}

QByteArray needleOf(const QString &searchText)
{
    return searchText.trimmed().toLower().toUtf8();
}

} // namespace gateway::browser
