#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <exception>
#include <utility>

namespace gateway::updates {

/// What kept an update from being found, fetched or installed.
enum class UpdateFailure
{
    notReachable, ///< the server of feed or package gives no answer
    notSecure,    ///< its certificate can't be verified
    refused,      ///< it answers with a status that is no success
    noFeed,       ///< what came is no feed: a login page, or garbage
    badSignature, ///< what the feed offers isn't signed by the key of this program
    damaged,      ///< the package isn't the one that was signed
    noRoom,       ///< too little free space
    notWritable,  ///< the folder or the file can't be written
    noInstaller,  ///< the system has nothing to open the package with
    ended         ///< a person or the end of the program ended it
};

/// Thrown by what works at an update. Thread: a value, any.
class UpdateError final : public std::exception
{
public:
    /// \param where  host, folder or the like, for the sentence.
    UpdateError(UpdateFailure why, QString where)
        : failure(why), place(std::move(where)), m_what("update: " + place.toUtf8())
    {
    }

    const char *what() const noexcept override { return m_what.constData(); }

    UpdateFailure failure;
    QString place;

private:
    QByteArray m_what;
};

/// One plain sentence for people, in the language of the screens. Thread: main.
QString sentenceFor(const UpdateError &error);

} // namespace gateway::updates
