#include "app/failure_figures.h"

#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

#include <algorithm>
#include <utility>

namespace gateway::app {

QList<FailureFigure> failureFigures(const QList<index::UploadFailureCount> &counts)
{
    constexpr qsizetype kMost = 20;
    QList<FailureFigure> figures;
    for (const index::UploadFailureCount &count : counts.first(std::min(kMost, counts.size()))) {
        figures.append({{core::failureClassOf(count.failureClass), count.failureCode}, count.files});
    }
    return figures;
}

QJsonArray toJson(const QList<FailureFigure> &figures)
{
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
        const QString sentence = value[u"sentence"].toString();
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

} // namespace gateway::app
