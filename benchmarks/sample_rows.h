#pragma once

#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <cstdint>

namespace quorin::benchmarks {

// The images of a site that makes CT studies all day, by their number: 250 a series, two series a study.

/// The elements of an image.
QVariantMap imageNumber(std::int64_t number);

/// The stored file of an image that was the `number`th to come, as its rows keep it.
QString pathStringOf(std::int64_t number);

/// Puts an empty file where each of these images has its own, and says on standard error where one can't be
/// made. Synchronous; waits for no disk. \return false in that case.
bool makeEmptyFiles(const QString &fileStoreRoot, std::int64_t from, std::int64_t to);

} // namespace quorin::benchmarks
