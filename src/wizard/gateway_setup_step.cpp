#include "wizard/gateway_setup_step.h"

#include <QtCore/QCoreApplication>

namespace gateway::wizard {

QString stepTitle(GatewaySetupStep step)
{
    switch (step) {
    case GatewaySetupStep::welcome:
        return QCoreApplication::translate("SetupWizard", "Welcome");
    case GatewaySetupStep::listener:
        return QCoreApplication::translate("SetupWizard", "DIMSE Listener");
    case GatewaySetupStep::localFiles:
        return QCoreApplication::translate("SetupWizard", "Local Files");
    case GatewaySetupStep::quorinAccount:
        return QCoreApplication::translate("SetupWizard", "Quorin Account");
    case GatewaySetupStep::summary:
        return QCoreApplication::translate("SetupWizard", "Summary");
    }
    return {};
}

QString stepDetail(GatewaySetupStep step)
{
    switch (step) {
    case GatewaySetupStep::welcome:
        return QCoreApplication::translate("SetupWizard", "Introduction");
    case GatewaySetupStep::listener:
        return QCoreApplication::translate("SetupWizard", "Network endpoint");
    case GatewaySetupStep::localFiles:
        return QCoreApplication::translate("SetupWizard", "Storage and retention");
    case GatewaySetupStep::quorinAccount:
        return QCoreApplication::translate("SetupWizard", "Sign in");
    case GatewaySetupStep::summary:
        return QCoreApplication::translate("SetupWizard", "Review and apply");
    }
    return {};
}

QString stepSubtitle(GatewaySetupStep step)
{
    switch (step) {
    case GatewaySetupStep::welcome:
        return QCoreApplication::translate(
            "SetupWizard",
            "This guided setup prepares Quorin Gateway for reliable local and cloud operation.");
    case GatewaySetupStep::listener:
        return QCoreApplication::translate(
            "SetupWizard",
            "Configure your DICOM DIMSE listener identity, address, and local network visibility.");
    case GatewaySetupStep::localFiles:
        return QCoreApplication::translate(
            "SetupWizard",
            "Choose where incoming files are stored and how synced files are retained locally.");
    case GatewaySetupStep::quorinAccount:
        return QCoreApplication::translate("SetupWizard",
                                           "Sign in now if available. You can also skip and continue.");
    case GatewaySetupStep::summary:
        return QCoreApplication::translate(
            "SetupWizard", "Review all settings that will be applied before finishing setup.");
    }
    return {};
}

} // namespace gateway::wizard
