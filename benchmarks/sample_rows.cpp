#include "benchmarks/sample_rows.h"

#include "index/testing/temporary_index.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdio>

namespace quorin::benchmarks {

namespace {

constexpr std::int64_t kImagesOfASeries = 250;
constexpr std::int64_t kSeriesOfAStudy = 2;
constexpr std::int64_t kFilesOfABucket = 10'000;

} // namespace

QVariantMap imageNumber(std::int64_t number)
{
    const std::int64_t series = number / kImagesOfASeries;
    const QString study = QStringLiteral("1.2.840.99999.1.%1").arg(series / kSeriesOfAStudy);
    return gateway::index::testing::TemporaryIndex::image(
        QStringLiteral("1.2.840.99999.3.%1.%2").arg(series).arg(number),
        {{QStringLiteral("studyID"), study},
         {QStringLiteral("studyNumber"), QStringLiteral("P%1").arg(series / kSeriesOfAStudy)},
         {QStringLiteral("seriesID"), QStringLiteral("1.2.840.99999.2.%1").arg(series)},
         {QStringLiteral("studyDescription"), QStringLiteral("Thorax with contrast")},
         {QStringLiteral("seriesDescription"), QStringLiteral("Axial 1 mm")},
         {QStringLiteral("imageID"), static_cast<int>(number % kImagesOfASeries)},
         {QStringLiteral("height"), 512},
         {QStringLiteral("width"), 512},
         {QStringLiteral("orientation"), QVariantList{1.0, 0.0, 0.0, 0.0, 1.0, 0.0}},
         {QStringLiteral("origin"), QVariantList{-250.0, -250.0, 1.0 * static_cast<double>(number % 250)}},
         {QStringLiteral("sliceLocation"), 1.5}});
}

QString pathStringOf(std::int64_t number)
{
    return QStringLiteral("%1/%2.dcm").arg((number / kFilesOfABucket + 1) * kFilesOfABucket).arg(number);
}

bool makeEmptyFiles(const QString &fileStoreRoot, std::int64_t from, std::int64_t to)
{
    for (std::int64_t number = from; number < to; ++number) {
        QFile file(fileStoreRoot + QLatin1Char('/') + pathStringOf(number));
        if (number == from || number % kFilesOfABucket == 0) {
            QDir().mkpath(QFileInfo(file).absolutePath());
        }
        if (!file.open(QIODevice::WriteOnly)) {
            std::fprintf(stderr, "a file could not be made\n");
            return false;
        }
    }
    return true;
}

} // namespace quorin::benchmarks
