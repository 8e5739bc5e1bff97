#pragma once

namespace gateway::index {

// What version 3 adds to version 2, in three pieces that stand for themselves. Never changed once released: a
// later layout is a migration.

/// The order in which files wait for their upload, and until when.
inline constexpr const char *kQueueOfSchemaVersion3 = R"sql(
)sql";

/// Which of several stored copies of an image counts, and which of them may go.
inline constexpr const char *kCopiesOfSchemaVersion3 = R"sql(
)sql";

/// What was sent to the cloud of each instance.
inline constexpr const char *kSentOfSchemaVersion3 = R"sql(
)sql";

} // namespace gateway::index
