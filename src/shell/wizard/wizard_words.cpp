#include "shell/wizard/wizard_words.h"

#include <QtCore/QCoreApplication>

namespace gateway::shell {

using Fix = wizard::GatewaySetupIssueFixAction;
using Status = wizard::GatewaySetupPreflightCheckStatus;

QString fixTitle(Fix action)
{
    switch (action) {
    case Fix::suggestAvailablePort:
        return QCoreApplication::translate("SetupWizard", "Use Next Available Port");
    case Fix::restoreRecommendedListenerDefaults:
    case Fix::restoreRecommendedLocalDefaults:
        return QCoreApplication::translate("SetupWizard", "Restore Recommended Defaults");
    case Fix::useDefaultFolder:
        return QCoreApplication::translate("SetupWizard", "Use Default");
    case Fix::rerunFolderProbe:
        return QCoreApplication::translate("SetupWizard", "Check Again");
    case Fix::openListenerStep:
        return QCoreApplication::translate("SetupWizard", "Open DIMSE Listener");
    case Fix::openLocalFilesStep:
        return QCoreApplication::translate("SetupWizard", "Open Local Files");
    case Fix::openAccountStep:
        return QCoreApplication::translate("SetupWizard", "Open Quorin Account");
    }
    return {};
}

QString statusWord(Status status)
{
    switch (status) {
    case Status::passed:
        return QCoreApplication::translate("SetupWizard", "Passed");
    case Status::warning:
        return QCoreApplication::translate("SetupWizard", "Warning");
    case Status::failed:
        return QCoreApplication::translate("SetupWizard", "Failed");
    case Status::checking:
        return QCoreApplication::translate("SetupWizard", "Checking");
    }
    return {};
}

QString statusSymbol(Status status)
{
    switch (status) {
    case Status::passed:
        return QStringLiteral("checkmark.circle.fill");
    case Status::warning:
        return QStringLiteral("exclamationmark.triangle.fill");
    case Status::failed:
        return QStringLiteral("xmark.circle.fill");
    case Status::checking:
        return QStringLiteral("arrow.clockwise.circle.fill");
    }
    return {};
}

Color statusColor(Status status)
{
    switch (status) {
    case Status::passed:
        return Color::green;
    case Status::warning:
        return Color::amber;
    case Status::failed:
        return Color::red;
    case Status::checking:
        return Color::blueHi;
    }
    return Color::muted;
}

} // namespace gateway::shell
