#include "terminal/commands/failure_report.h"

#include "core/failure_class.h"
#include "platform/sentences/in_english.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <algorithm>
#include <utility>

namespace gateway::terminal {

QJsonArray toJson(const QList<upload::FailureFigure> &figures)
{
    const platform::InEnglish english;
    QJsonArray failures;
    for (const auto &[failure, files] : figures) {
        failures.append(QJsonObject{{QStringLiteral("class"), QString(core::rawValue(failure.failureClass))},
                                    {QStringLiteral("code"), static_cast<qint64>(failure.code)},
                                    {QStringLiteral("sentence"), core::failureSentence(failure.failureClass)},
                                    {QStringLiteral("count"), files}});
    }
    return failures;
}

QStringList failureLines(const QJsonArray &failures)
{
    QList<std::pair<QString, qint64>> counts; // in the order of their coming
    for (const auto &value : failures) {
        // The gateway may speak another language than who asks.
        const QString sentence = core::failureSentence(core::failureClassOf(value[u"class"].toString()));
        const qint64 files = value[u"count"].toInteger();
        const auto known = std::find_if(
            counts.begin(), counts.end(), [&](const auto &count) { return count.first == sentence; });
        if (known == counts.end()) {
            counts.append({sentence, files});
        } else {
            known->second += files;
        }
    }
    QStringList lines;
    for (const auto &[sentence, files] : counts) {
        lines.append(QStringLiteral("%1 not sent: %2").arg(files).arg(sentence));
    }
    return lines;
}

} // namespace gateway::terminal
