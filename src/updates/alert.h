#pragma once

#include <QtCore/QString>

#include <functional>

namespace gateway::updates {

/// A question or a message that waits for a person.
///
/// Thread: a plain value.
struct Alert
{
    enum class Style
    {
        informational,
        warning
    };

    Style style = Style::informational;
    QString title;
    QString message;
    QString accept;  ///< the button that agrees
    QString dismiss; ///< the other button; empty where there is nothing to choose

    bool operator==(const Alert &) const = default;
};

/// The alerts of updates and of the program's place, in the language of the screens. Thread: main.
Alert criticalUpdateAlert();
Alert longUncheckedAlert();
Alert moveToApplicationsAlert();

/// \param why  what went wrong, in words.
Alert moveFailedAlert(const QString &why);

/// Shows alerts, one after the other.
///
/// Owner: app. Thread: main.
class Alerts
{
public:
    virtual ~Alerts() = default;

    /// Shows the alert until somebody answers it. Returns at once; the program's work goes on meanwhile.
    ///
    /// \param answered  called once, with true for `accept`; also while this call runs, where nobody can be
    ///                  asked. Not called when the program ends before.
    virtual void ask(const Alert &alert, std::function<void(bool accepted)> answered) = 0;
};

} // namespace gateway::updates
