#pragma once

#include <QtCore/QHashFunctions>
#include <QtCore/QString>

#include <cstddef>
#include <utility>

namespace gateway::platform {

/// A text that says what it is of, so that one of another kind can't be handed over in its place. It is made
/// of a plain text, and read as one, only where it enters or leaves: a parser's answer, a row, a message.
///
/// \tparam Kind  tells the kinds apart; declared where the kind is named, defined nowhere.
///
/// Thread: a plain value.
template <typename Kind>
class TypedText
{
public:
    TypedText() = default;
    explicit TypedText(QString value) : m_value(std::move(value)) {}

    /// The text as it was given.
    const QString &value() const { return m_value; }

    bool isEmpty() const { return m_value.isEmpty(); }

    bool operator==(const TypedText &) const = default;

    /// By code units, as plain texts are ordered.
    friend bool operator<(const TypedText &left, const TypedText &right)
    {
        return left.m_value < right.m_value;
    }

    friend std::size_t qHash(const TypedText &text, std::size_t seed = 0)
    {
        return qHash(text.m_value, seed);
    }

private:
    QString m_value;
};

} // namespace gateway::platform
