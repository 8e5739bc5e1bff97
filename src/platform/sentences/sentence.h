#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace gateway::platform {

/// An error of the system, told in the words of whoever asks.
struct SystemError
{
    int number = 0; ///< as in errno

    bool operator==(const SystemError &) const = default;
};

/// What is to be said to people, kept as what it is made of: whoever shows it gives it the words of a
/// language.
///
/// Who finds out that something is wrong doesn't know who will read it: the person at the screen, whose
/// language the program speaks, or a command line and a machine, who are answered in English. Thread: any; a
/// value.
class Sentence
{
public:
    /// What takes the place of a placeholder.
    class Value
    {
    public:
        Value(QString text) : m_text(std::move(text)) {} // NOLINT(google-explicit-constructor)
        Value(SystemError error) : m_error(error) {}     // NOLINT(google-explicit-constructor)

        QString inEnglish() const;
        QString inLanguage() const;

        bool operator==(const Value &) const = default;

    private:
        QString m_text;
        SystemError m_error;
    };

    /// Nothing to say.
    Sentence() = default;

    /// Words of others, or such as no language has: shown as they stand.
    Sentence(const QString &verbatim); // NOLINT(google-explicit-constructor)

    /// \param context, english  literals, marked for translation by QT_TRANSLATE_NOOP.
    /// \param values  for %1 to %3.
    Sentence(const char *context, const char *english, QList<Value> values = {});

    /// What a notification carries: a sentence, or a text to be shown as it stands; else nothing.
    static Sentence in(const QVariant &carried);

    bool isEmpty() const { return m_parts.isEmpty(); }

    QString inEnglish() const;

    /// In the language of the program.
    QString inLanguage() const;

    /// This one and then the other.
    Sentence followedBy(const Sentence &next) const;

    bool operator==(const Sentence &) const = default;

private:
    struct Part
    {
        const char *context = nullptr; // nothing for words of others
        QString english;
        QList<Value> values = {};

        bool operator==(const Part &other) const
        {
            return english == other.english && values == other.values;
        }
    };

    QList<Part> m_parts;
};

} // namespace gateway::platform

Q_DECLARE_METATYPE(gateway::platform::Sentence)
