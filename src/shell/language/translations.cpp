#include "shell/language/translations.h"

#include "platform/concurrency/main_thread.h"
#include "platform/sentences/in_english.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLibraryInfo>

namespace gateway::shell {

Translations::Translations(const QLocale &locale)
{
    platform::assertMainThread("Translations");
    if (m_own.load(
            locale, QStringLiteral("quorin"), QStringLiteral("_"), QStringLiteral(":/shell/language"))) {
        QCoreApplication::installTranslator(&m_own);
        // Two languages on one screen would be worse than one that isn't the user's.
        if (m_toolkit.load(locale,
                           QStringLiteral("qtbase"),
                           QStringLiteral("_"),
                           QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
            QCoreApplication::installTranslator(&m_toolkit);
        }
    }
}

QString Translations::Own::translate(const char *context,
                                     const char *text,
                                     const char *disambiguation,
                                     int count) const
{
    return platform::InEnglish::isWanted() ? QString()
                                           : QTranslator::translate(context, text, disambiguation, count);
}

} // namespace gateway::shell
