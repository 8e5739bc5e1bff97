#include "shell/dashboard/chart/transfer_words.h"

#include <QtCore/QCoreApplication>

namespace gateway::shell {

namespace {

// The words that the models use, for the translators.
[[maybe_unused]] constexpr const char *kWords[] = {QT_TRANSLATE_NOOP("TransferActivity", "Received"),
                                                   QT_TRANSLATE_NOOP("TransferActivity", "Sent"),
                                                   QT_TRANSLATE_NOOP("TransferActivity", "Last 1 hour"),
                                                   QT_TRANSLATE_NOOP("TransferActivity", "Last 4 hours"),
                                                   QT_TRANSLATE_NOOP("TransferActivity", "Last 24 hours"),
                                                   QT_TRANSLATE_NOOP("TransferActivity", "Last 7 days"),
                                                   QT_TRANSLATE_NOOP("TransferActivity", "Last 30 days")};

} // namespace

QString transferWord(const QString &word)
{
    return QCoreApplication::translate("TransferActivity", word.toUtf8().constData());
}

} // namespace gateway::shell
