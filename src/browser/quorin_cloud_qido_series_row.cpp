#include "browser/quorin_cloud_qido_series_row.h"

#include "browser/row_texts.h"
#include "browser/search_texts.h"
#include "cloud_client/qrn_tag_parser.h"

#include <QtCore/QUuid>

#include <limits>

namespace gateway::browser {

using cloud_client::QrnDicomTag;
using cloud_client::QrnTagParser;

namespace {

QString numberTextOf(const QVariantMap &object)
{
    const auto number = QrnTagParser::getIntTag(object, QrnDicomTag::SeriesNumber);
    return number ? QString::number(*number)
                  : QrnTagParser::getStringTag(object, QrnDicomTag::SeriesNumber).trimmed();
}

/// Series without a number stand behind all others.
std::int64_t sortKeyOf(const QString &numberText)
{
    bool isNumber = false;
    const qint64 number = numberText.toLongLong(&isNumber);
    return isNumber ? number : std::numeric_limits<std::int64_t>::max();
}

} // namespace

QuorinCloudQidoSeriesRow QuorinCloudQidoSeriesRow::of(const QVariantMap &object)
{
    const auto text = [&](QrnDicomTag tag) { return QrnTagParser::getStringTag(object, tag); };
    QuorinCloudQidoSeriesRow row;
    row.seriesInstanceUIDRaw = text(QrnDicomTag::SeriesInstanceUID).trimmed();
    row.id = row.seriesInstanceUIDRaw.isEmpty() ? QUuid::createUuid().toString(QUuid::WithoutBraces)
                                                : row.seriesInstanceUIDRaw;
    row.seriesInstanceUID = shownText(row.seriesInstanceUIDRaw);
    row.seriesNumberRaw = numberTextOf(object);
    row.seriesNumberSort = sortKeyOf(row.seriesNumberRaw);
    row.seriesNumberDisplay = shownText(row.seriesNumberRaw);
    row.seriesDescription = shownText(text(QrnDicomTag::SeriesDescription));
    row.modality = shownText(text(QrnDicomTag::Modality));
    row.seriesDateRaw = dateDigits(text(QrnDicomTag::SeriesDate));
    row.seriesDateDisplay = shownDate(row.seriesDateRaw);
    row.numberOfImages =
        QrnTagParser::getIntTag(object, QrnDicomTag::NumberOfSeriesRelatedInstances).value_or(0);
    return row;
}

void QuorinCloudQidoSeriesRow::addTo(SearchTexts &texts) const
{
    texts.add({seriesNumberDisplay, seriesDescription, modality, seriesInstanceUID});
}

QString QuorinCloudQidoSeriesRow::text(int column) const
{
    switch (static_cast<Column>(column)) {
    case numberColumn:
        return seriesNumberDisplay;
    case descriptionColumn:
        return seriesDescription;
    case modalityColumn:
        return modality;
    case dateColumn:
        return seriesDateDisplay;
    case imagesColumn:
        return QString::number(numberOfImages);
    case seriesUIDColumn:
        return seriesInstanceUID;
    case columnTotal:
        break;
    }
    return {};
}

bool QuorinCloudQidoSeriesRow::isText(int column)
{
    return column != numberColumn && column != dateColumn && column != imagesColumn;
}

bool QuorinCloudQidoSeriesRow::isBefore(const QuorinCloudQidoSeriesRow &left,
                                        const QuorinCloudQidoSeriesRow &right,
                                        int column)
{
    if (column == numberColumn) {
        return left.seriesNumberSort < right.seriesNumberSort;
    }
    if (column == dateColumn) {
        return left.seriesDateRaw < right.seriesDateRaw;
    }
    if (column == imagesColumn) {
        return left.numberOfImages < right.numberOfImages;
    }
    return false;
}

} // namespace gateway::browser
