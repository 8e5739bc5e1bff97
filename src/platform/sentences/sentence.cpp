#include "platform/sentences/sentence.h"

#include <QtCore/QStringList>

#include <cstring>
#include <system_error>
#include <utility>

namespace gateway::platform {

namespace {

/// All at once: a value may look like a placeholder.
QString filled(const QString &pattern, const QStringList &values)
{
    switch (values.size()) {
    case 0:
        return pattern;
    case 1:
        return pattern.arg(values[0]);
    case 2:
        return pattern.arg(values[0], values[1]);
    default:
        return pattern.arg(values[0], values[1], values[2]);
    }
}

} // namespace

QString Sentence::Value::inEnglish() const
{
    if (m_error.number == 0) {
        return m_text;
    }
    const char *known = ::strerrordesc_np(m_error.number);
    return known ? QString::fromLatin1(known) : QStringLiteral("error %1").arg(m_error.number);
}

QString Sentence::Value::inLanguage() const
{
    return m_error.number == 0
               ? m_text
               : QString::fromLocal8Bit(std::generic_category().message(m_error.number).c_str());
}

Sentence::Sentence(const QString &verbatim)
{
    if (!verbatim.isEmpty()) {
        m_parts = {Part{nullptr, verbatim}};
    }
}

Sentence::Sentence(const char *context, const char *english, QList<Value> values)
    : m_parts{Part{context, QString::fromUtf8(english), std::move(values)}}
{
}

Sentence Sentence::in(const QVariant &carried)
{
    if (carried.metaType() == QMetaType::fromType<Sentence>()) {
        return carried.value<Sentence>();
    }
    return carried.typeId() == QMetaType::QString ? Sentence(carried.toString()) : Sentence();
}

QString Sentence::inEnglish() const
{
    QStringList said;
    for (const Part &part : m_parts) {
        QStringList values;
        for (const Value &value : part.values) {
            values.append(value.inEnglish());
        }
        said.append(filled(part.english, values));
    }
    return said.join(u' ');
}

QString Sentence::inLanguage() const
{
    QStringList said;
    for (const Part &part : m_parts) {
        QStringList values;
        for (const Value &value : part.values) {
            values.append(value.inLanguage());
        }
        const QString pattern =
            part.context ? QCoreApplication::translate(part.context, part.english.toUtf8().constData())
                         : part.english;
        said.append(filled(pattern, values));
    }
    return said.join(u' ');
}

Sentence Sentence::followedBy(const Sentence &next) const
{
    Sentence both = *this;
    both.m_parts += next.m_parts;
    return both;
}

} // namespace gateway::platform
