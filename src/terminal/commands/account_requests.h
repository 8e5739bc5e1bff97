#pragma once

#include "account/gateway_account_settings_view_model.h"
#include "account/gateway_bug_report_view_model.h"
#include "account/gateway_change_password_view_model.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

#include <QtCore/QStringList>

namespace gateway::terminal {

// The commands about account, terms and bug reports as they travel over the control socket, and their answers
// in words. Thread: plain functions.

ControlRequest termsRequest(const TermsCommand &command);

/// A show or a set.
ControlRequest accountRequest(const AccountCommand &command);

/// \param form  travels over the socket only.
ControlRequest passwordRequest(const account::GatewayPasswordForm &form);

/// The paths of the files become absolute, since the instance has a working folder of its own.
ControlRequest reportRequest(const ReportCommand &command);

/// One text of the profile to be changed.
struct ProfileChange
{
    QString key;
    QString account::GatewayAccountForm::*field = nullptr; ///< nothing for an unknown key
    QString value;
};

ProfileChange profileChangeIn(const ControlRequest &request);
account::GatewayPasswordForm passwordFormIn(const ControlRequest &request);
account::GatewayBugReportForm reportFormIn(const ControlRequest &request);

/// The answer while nobody is signed in.
ControlReply noSessionReply();

QString unknownFieldSentence(const QString &key);

/// The profile with keys that don't change; `email` and `workplaces` can't be set.
QJsonObject profileJson(const account::GatewayAccountSettingsViewModel &model);

/// The answer to a show of the profile, one line a field.
QString profileText(const QJsonObject &profile);

/// The answer to a show of the terms: version, reason, text, and whether they wait for an answer.
QString termsText(const QJsonObject &terms);

} // namespace gateway::terminal
