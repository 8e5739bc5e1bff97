#include "terminal/commands/account_requests.h"

#include "terminal/commands/command_requests.h"

#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QUrl>

#include <array>

namespace gateway::terminal {

namespace {

using account::GatewayAccountForm;

const QString kKey = QStringLiteral("key");
const QString kValue = QStringLiteral("value");
const QString kCurrent = QStringLiteral("currentPassword");
const QString kNew = QStringLiteral("newPassword");
const QString kConfirm = QStringLiteral("confirmPassword");
const QString kDescription = QStringLiteral("description");
const QString kReproducible = QStringLiteral("isReproducible");
const QString kDuringImport = QStringLiteral("happenedDuringImport");
const QString kDuringOpening = QStringLiteral("happenedDuringOpening");
const QString kAttachments = QStringLiteral("attachments");

struct Field
{
    QString key;
    QString GatewayAccountForm::*text;
};

const std::array<Field, 8> kFields{{{QStringLiteral("title"), &GatewayAccountForm::title},
                                    {QStringLiteral("firstName"), &GatewayAccountForm::firstName},
                                    {QStringLiteral("middleName"), &GatewayAccountForm::middleName},
                                    {QStringLiteral("lastName"), &GatewayAccountForm::lastName},
                                    {QStringLiteral("suffix"), &GatewayAccountForm::suffix},
                                    {QStringLiteral("profession"), &GatewayAccountForm::profession},
                                    {QStringLiteral("phoneNumber"), &GatewayAccountForm::phoneNumber},
                                    {QStringLiteral("workplace"), &GatewayAccountForm::workplace}}};

QString textIn(const QJsonObject &object, const QString &key)
{
    return object.value(key).toString();
}

} // namespace

ControlRequest termsRequest(const TermsCommand &command)
{
    switch (command.action) {
    case TermsCommand::Action::show:
        return {requests::kTermsShow, {}};
    case TermsCommand::Action::accept:
        return {requests::kTermsAccept, {}};
    case TermsCommand::Action::decline:
        return {requests::kTermsDecline, {}};
    }
    return {};
}

ControlRequest accountRequest(const AccountCommand &command)
{
    if (command.action == AccountCommand::Action::set) {
        return {requests::kAccountSet, {{kKey, command.key}, {kValue, command.value}}};
    }
    return {requests::kAccountShow, {}};
}

ControlRequest passwordRequest(const account::GatewayPasswordForm &form)
{
    return {requests::kAccountPassword,
            {{kCurrent, form.currentPassword}, {kNew, form.newPassword}, {kConfirm, form.confirmPassword}}};
}

ControlRequest reportRequest(const ReportCommand &command)
{
    QJsonArray paths;
    for (const QString &path : command.attachments) {
        paths.append(QFileInfo(path).absoluteFilePath());
    }
    return {requests::kReport,
            {{kDescription, command.description},
             {kReproducible, command.isReproducible},
             {kDuringImport, command.happenedDuringImport},
             {kDuringOpening, command.happenedDuringOpening},
             {kAttachments, paths}}};
}

ProfileChange profileChangeIn(const ControlRequest &request)
{
    ProfileChange change{textIn(request.arguments, kKey), nullptr, textIn(request.arguments, kValue)};
    for (const Field &field : kFields) {
        if (field.key == change.key) {
            change.field = field.text;
        }
    }
    return change;
}

account::GatewayPasswordForm passwordFormIn(const ControlRequest &request)
{
    return {textIn(request.arguments, kCurrent),
            textIn(request.arguments, kNew),
            textIn(request.arguments, kConfirm)};
}

account::GatewayBugReportForm reportFormIn(const ControlRequest &request)
{
    account::GatewayBugReportForm form;
    form.descriptionText = textIn(request.arguments, kDescription);
    form.isReproducible = request.arguments.value(kReproducible).toBool();
    form.happenedDuringImport = request.arguments.value(kDuringImport).toBool();
    form.happenedDuringOpening = request.arguments.value(kDuringOpening).toBool();
    for (const auto &path : request.arguments.value(kAttachments).toArray()) {
        form.attachments.append(QUrl::fromLocalFile(path.toString()));
    }
    return form;
}

ControlReply noSessionReply()
{
    return ControlReply::failure(
        QStringLiteral("No account is signed in. Run: quorin-gateway sign-in --email ADDRESS"));
}

QString unknownFieldSentence(const QString &key)
{
    QStringList keys;
    for (const Field &field : kFields) {
        keys.append(field.key);
    }
    return QStringLiteral("The account has no field %1. Fields that can be set: %2.")
        .arg(key, keys.join(QStringLiteral(", ")));
}

QJsonObject profileJson(const account::GatewayAccountSettingsViewModel &model)
{
    QJsonObject profile{{QStringLiteral("email"), model.email()}};
    for (const Field &field : kFields) {
        profile.insert(field.key, model.form().*(field.text));
    }
    QJsonArray workplaces;
    for (const cloud_client::QrnUserWorkplace &workplace : model.workplaces()) {
        workplaces.append(QJsonObject{{QStringLiteral("name"), workplace.name},
                                      {QStringLiteral("isPrimary"), workplace.isPrimary}});
    }
    profile.insert(QStringLiteral("workplaces"), workplaces);
    return profile;
}

QString profileText(const QJsonObject &profile)
{
    const auto line = [](const QString &key, const QString &value) {
        return QStringLiteral("%1 %2\n").arg(key, -12).arg(value.isEmpty() ? QStringLiteral("--") : value);
    };
    QString text = line(QStringLiteral("email"), textIn(profile, QStringLiteral("email")));
    for (const Field &field : kFields) {
        text += line(field.key, textIn(profile, field.key));
    }
    for (const auto &entry : profile.value(QStringLiteral("workplaces")).toArray()) {
        const QString primary = entry[u"isPrimary"].toBool() ? QStringLiteral(" (primary)") : QString();
        text += line(QStringLiteral("works at"), entry[u"name"].toString() + primary);
    }
    return text;
}

QString termsText(const QJsonObject &terms)
{
    const QString version = textIn(terms, QStringLiteral("version"));
    const QString reason = textIn(terms, QStringLiteral("reason"));
    QString text = QStringLiteral("Quorin Cloud Terms & Conditions");
    text += version.isEmpty() ? QStringLiteral("\n") : QStringLiteral(", version %1\n").arg(version);
    if (!reason.isEmpty()) {
        text += reason + u'\n';
    }
    text += u'\n' + textIn(terms, QStringLiteral("text")) + QStringLiteral("\n\n");
    text +=
        terms.value(QStringLiteral("required")).toBool()
            ? QStringLiteral("They must be accepted before Quorin Cloud takes images. To accept them, run: "
                             "quorin-gateway terms accept\nTo decline them and be signed out, run: "
                             "quorin-gateway terms decline\n")
            : QStringLiteral("Nothing has to be accepted.\n");
    return text;
}

} // namespace gateway::terminal
