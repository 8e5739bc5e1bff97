#include "browser/quorin_cloud_qido_study_row.h"

#include "browser/row_texts.h"
#include "browser/search_texts.h"
#include "cloud_client/qrn_tag_parser.h"

#include <QtCore/QUuid>

namespace gateway::browser {

using cloud_client::QrnDicomTag;
using cloud_client::QrnPersonName;
using cloud_client::QrnTagParser;

namespace {

/// The name that is shown, and the others.
std::pair<QString, QString> namesOf(const QrnPersonName &name)
{
    QStringList groups;
    for (const QString &group : {name.alphabetic, name.ideographic, name.phonetic}) {
        if (!group.trimmed().isEmpty()) {
            groups.append(group.trimmed());
        }
    }
    return {groups.value(0), groups.mid(1).join(u'\n')};
}

} // namespace

QuorinCloudQidoStudyRow QuorinCloudQidoStudyRow::of(const QVariantMap &object)
{
    const auto text = [&](QrnDicomTag tag) { return QrnTagParser::getStringTag(object, tag); };
    QuorinCloudQidoStudyRow row;
    row.studyInstanceUIDRaw = text(QrnDicomTag::StudyInstanceUID).trimmed();
    row.id = row.studyInstanceUIDRaw.isEmpty() ? QUuid::createUuid().toString(QUuid::WithoutBraces)
                                               : row.studyInstanceUIDRaw;
    row.studyInstanceUID = shownText(row.studyInstanceUIDRaw);
    const auto [name, further] = namesOf(QrnTagParser::getPersonName(object, QrnDicomTag::PatientName));
    row.patientName = shownText(name);
    row.furtherNames = further;
    row.patientID = shownText(text(QrnDicomTag::PatientID));
    row.studyDescription = shownText(text(QrnDicomTag::StudyDescription));
    row.modality = shownText(text(QrnDicomTag::ModalitiesInStudy));
    row.accessionNumber = shownText(text(QrnDicomTag::AccessionNumber));
    row.studyDateRaw = dateDigits(text(QrnDicomTag::StudyDate));
    row.studyDateDisplay = shownDate(row.studyDateRaw);
    row.studyTimeRaw = timeDigits(text(QrnDicomTag::StudyTime));
    row.studyTimeDisplay = shownTime(row.studyTimeRaw);
    row.numberOfImages =
        QrnTagParser::getIntTag(object, QrnDicomTag::NumberOfStudyRelatedInstances).value_or(0);
    return row;
}

void QuorinCloudQidoStudyRow::addTo(SearchTexts &texts) const
{
    texts.add({patientName, patientID, studyDescription, accessionNumber, modality, studyInstanceUID});
}

QString QuorinCloudQidoStudyRow::text(int column) const
{
    switch (static_cast<Column>(column)) {
    case patientNameColumn:
        return patientName;
    case patientIDColumn:
        return patientID;
    case descriptionColumn:
        return studyDescription;
    case modalityColumn:
        return modality;
    case dateColumn:
        return studyDateDisplay;
    case timeColumn:
        return studyTimeDisplay;
    case accessionColumn:
        return accessionNumber;
    case imagesColumn:
        return QString::number(numberOfImages);
    case studyUIDColumn:
        return studyInstanceUID;
    case columnTotal:
        break;
    }
    return {};
}

QString QuorinCloudQidoStudyRow::furtherText(int column) const
{
    return column == patientNameColumn ? furtherNames : QString();
}

bool QuorinCloudQidoStudyRow::isText(int column)
{
    return column != dateColumn && column != timeColumn && column != imagesColumn;
}

bool QuorinCloudQidoStudyRow::isBefore(const QuorinCloudQidoStudyRow &left,
                                       const QuorinCloudQidoStudyRow &right,
                                       int column)
{
    if (column == dateColumn) {
        return left.studyDateRaw < right.studyDateRaw;
    }
    if (column == timeColumn) {
        return left.studyTimeRaw < right.studyTimeRaw;
    }
    if (column == imagesColumn) {
        return left.numberOfImages < right.numberOfImages;
    }
    return false;
}

} // namespace gateway::browser
