#pragma once

#include <QtCore/QLocale>
#include <QtCore/QTranslator>

namespace gateway::shell {

/// Lets the program's texts, and those of the toolkit's own dialogs, appear in a language for as long as it
/// lives. Without a translation for the language they stay English.
///
/// Owner: main, behind the application object. Thread: main.
class Translations
{
public:
    /// \param locale  whose languages are tried, the preferred one first; the system's own follows the
    /// environment.
    explicit Translations(const QLocale &locale = QLocale());

    /// Whether the program's own texts are translated.
    bool isTranslated() const { return !m_own.isEmpty(); }

private:
    /// The program's own texts, which stay English for whom they are not shown.
    class Own final : public QTranslator
    {
    public:
        QString translate(const char *context,
                          const char *text,
                          const char *disambiguation,
                          int count) const override;
    };

    Own m_own;
    QTranslator m_toolkit;
};

} // namespace gateway::shell
