#pragma once

#include "browser/table_kind.h"
#include "core/failure_class.h"

#include <QtCore/QString>

#include <cstdint>
#include <exception>
#include <optional>

namespace gateway::browser {

struct BatchResult;
struct OutsideCloudCount;

// What the tables say to people, in their language, on screens and on the command line alike. Thread: any.

/// The title of a column of the table's rows.
QString columnTitle(TableKind kind, int column);

/// What stands where a table would be that has no rows, and what signing in would bring.
QString nothingFoundWords(TableKind kind);
QString signInWords(TableKind kind);

/// For how many files an upload failed for one reason, what that means and what to do.
QString failureLine(core::FailureClass failureClass, qint64 files);

/// Why a load failed.
QString loadFailureWords(const std::exception_ptr &failure);

/// What is said when nothing that was selected can be deleted.
QString nothingToDeleteWords(TableKind kind);

/// What a batch of deletions came to; nothing when all was deleted.
std::optional<QString> deletionSummary(TableKind kind, const BatchResult &result);

/// One question before a deletion.
struct DeleteQuestion
{
    QString title;
    QString message;
    QString confirm; ///< the words on the button that goes on
};

/// \param count  how many are selected.
DeleteQuestion deleteQuestion(TableKind kind, DeleteConfirmationStep step, qint64 count);

/// That images which are to be deleted here aren't in the cloud; empty for none.
QString outsideCloudWords(TableKind kind, const OutsideCloudCount &count);

/// That nobody can tell what isn't in the cloud, so that nothing is deleted here.
QString unknownOutsideCloudWords();

/// That a deletion from the cloud couldn't be noted here, and so wasn't asked for.
QString unnotedDeletionWords();

/// What isn't touched by the deletion.
QString whatStays(TableKind kind);

} // namespace gateway::browser
