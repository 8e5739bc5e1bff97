#include "updates/update_error.h"

#include <QtCore/QCoreApplication>

namespace gateway::updates {

namespace {

/// Gives the words below a context of their own.
class UpdateSentences
{
    Q_DECLARE_TR_FUNCTIONS(UpdateSentences)

public:
    static QString of(UpdateFailure failure)
    {
        switch (failure) {
        case UpdateFailure::notReachable:
            return tr("The update server %1 can't be reached.");
        case UpdateFailure::notSecure:
            return tr("A secure connection to the update server %1 could not be made.");
        case UpdateFailure::refused:
            return tr("The update server %1 has no update information at the place where it should be.");
        case UpdateFailure::noFeed:
            return tr("What the update server %1 sent is no update information.");
        case UpdateFailure::badSignature:
            return tr("The update from %1 isn't signed by the maker of this program, so it isn't installed.");
        case UpdateFailure::damaged:
            return tr("What came from %1 isn't the update that its maker signed, so it isn't installed.");
        case UpdateFailure::noRoom:
            return tr("There is too little free space in %1 for the update.");
        case UpdateFailure::notWritable:
            return tr("The update can't be written in %1.");
        case UpdateFailure::noInstaller:
            return tr("This system has no program that installs %1.");
        case UpdateFailure::ended:
            return tr("The update from %1 was ended.");
        }
        Q_UNREACHABLE();
    }
};

} // namespace

QString sentenceFor(const UpdateError &error)
{
    return UpdateSentences::of(error.failure).arg(error.place);
}

} // namespace gateway::updates
