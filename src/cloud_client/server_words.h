#pragma once

#include <QtCore/QByteArrayList>
#include <QtCore/QString>

namespace gateway::cloud_client {

/// What a server says, made fit for one line of a screen or a terminal: without escape sequences, control and
/// formatting characters (such as those that turn the direction of writing), line breaks as spaces, and cut.
///
/// Every text of a server passes here or through `cleanServerText` as it comes in. Thread: any.
///
/// \param limit  in characters; a longer text ends in an ellipsis.
QString cleanServerWords(const QString &words, qsizetype limit = 300);

/// The same for a text of several lines, such as terms: its line breaks stay, and nothing is cut.
QString cleanServerText(const QString &text);

/// The words without these texts, each of which leaves an ellipsis; an empty one is none. Comes first, while
/// the words are whole.
QString withoutSecrets(QString words, const QByteArrayList &secrets);

} // namespace gateway::cloud_client
