#include "shell/dashboard/cards/sent_notice.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>

namespace gateway::shell {

namespace {

/// The words of this page, for the translation.
struct SentNotice
{
    Q_DECLARE_TR_FUNCTIONS(gateway::shell::SentNotice)
};

QString number(std::int64_t count)
{
    return QLocale().toString(static_cast<qlonglong>(count));
}

} // namespace

CardNotice::Words sentNotice(const SentSituation &now)
{
    if (now.notSent > 0 && !now.isSignedIn) {
        return {QStringLiteral("lock.fill"),
                Color::amber,
                SentNotice::tr("Waiting for a sign-in"),
                SentNotice::tr("Images are kept here until then."),
                {}};
    }
    if (now.notSent > 0 && !now.isReachable) {
        return {QStringLiteral("cloud.slash"),
                Color::amber,
                SentNotice::tr("Quorin Cloud can't be reached"),
                SentNotice::tr("Images are kept here and sent later."),
                {}};
    }
    if (now.failed > 0) {
        return {QStringLiteral("exclamationmark.triangle.fill"),
                Color::red,
                now.failed == 1 ? SentNotice::tr("1 image could not be sent")
                                : SentNotice::tr("%1 images could not be sent").arg(number(now.failed)),
                now.reason ? core::failureSentence(*now.reason)
                           : SentNotice::tr("Kept here and tried again."),
                SentNotice::tr("View Logs")};
    }
    if (now.notSent > 0) {
        const std::int64_t all = now.sent + now.notSent;
        const double share = static_cast<double>(now.sent) / static_cast<double>(all);
        return {QStringLiteral("tray.and.arrow.up.fill"),
                Color::green,
                now.isSending ? SentNotice::tr("Sending to Quorin Cloud")
                              : SentNotice::tr("Waiting to be sent"),
                SentNotice::tr("%1 of %2 images are there.").arg(number(now.sent), number(all)),
                {},
                share};
    }
    if (now.sent > 0) {
        return {QStringLiteral("checkmark.circle.fill"),
                Color::green,
                SentNotice::tr("Everything is uploaded"),
                SentNotice::tr("Nothing waits here."),
                {}};
    }
    return {QStringLiteral("tray.fill"),
            Color::text2,
            SentNotice::tr("Nothing to send yet"),
            SentNotice::tr("Received images are sent on their own."),
            {}};
}

} // namespace gateway::shell
