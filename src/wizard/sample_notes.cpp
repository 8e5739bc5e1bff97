#include "wizard/sample_notes.h"

#include "wizard/sample.h"

#include <QtCore/QStringList>

#include <algorithm>

namespace gateway::wizard {

namespace {

const QString kKey = QStringLiteral("SetupTrial.samples");

} // namespace

QList<platform::StudyUid> SampleNotes::studies() const
{
    QList<platform::StudyUid> all;
    for (const Note &note : notes()) {
        all.append(note.study);
    }
    return all;
}

QDateTime SampleNotes::mayComeUntil(const platform::StudyUid &study) const
{
    const QList<Note> kept = notes();
    const auto note = std::ranges::find(kept, study, &Note::study);
    return note == kept.end() ? QDateTime() : note->mayComeUntil;
}

bool SampleNotes::add(const platform::StudyUid &study, const QDateTime &mayComeUntil)
{
    return write(notes() << Note{study, mayComeUntil});
}

void SampleNotes::setArrived(const platform::StudyUid &study)
{
    QList<Note> kept = notes();
    for (Note &note : kept) {
        if (note.study == study) {
            note.mayComeUntil = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);
        }
    }
    write(kept);
}

void SampleNotes::remove(const platform::StudyUid &study)
{
    QList<Note> left = notes();
    left.removeIf([&study](const Note &note) { return note.study == study; });
    write(left);
}

/// As they are written: "study@seconds study@seconds".
QList<SampleNotes::Note> SampleNotes::notes() const
{
    const QStringList written =
        m_defaults.object(kKey).value_or(QVariant()).toString().split(u' ', Qt::SkipEmptyParts);
    QList<Note> kept;
    for (const QString &note : written) {
        const platform::StudyUid study(note.section(u'@', 0, 0));
        if (isSampleStudy(study)) { // what is noted is deleted: nothing else may come in here
            kept.append(
                {study, QDateTime::fromSecsSinceEpoch(note.section(u'@', 1, 1).toLongLong(), Qt::UTC)});
        }
    }
    return kept;
}

bool SampleNotes::write(const QList<Note> &notes)
{
    QStringList written;
    for (const Note &note : notes) {
        written.append(
            QStringLiteral("%1@%2").arg(note.study.value()).arg(note.mayComeUntil.toSecsSinceEpoch()));
    }
    return m_defaults.setObject(kKey, written.isEmpty() ? QVariant() : QVariant(written.join(u' ')));
}

} // namespace gateway::wizard
