#include "core/failure_class.h"

namespace gateway::core {

QLatin1StringView rawValue(FailureClass failureClass)
{
    switch (failureClass) {
    case FailureClass::sessionEnded:
        return QLatin1StringView("sessionEnded");
    case FailureClass::notSignedIn:
        return QLatin1StringView("notSignedIn");
    case FailureClass::termsNotAccepted:
        return QLatin1StringView("termsNotAccepted");
    case FailureClass::notPermitted:
        return QLatin1StringView("notPermitted");
    case FailureClass::storageUsedUp:
        return QLatin1StringView("storageUsedUp");
    case FailureClass::outOfResources:
        return QLatin1StringView("outOfResources");
    case FailureClass::tooLarge:
        return QLatin1StringView("tooLarge");
    case FailureClass::tooManyRequests:
        return QLatin1StringView("tooManyRequests");
    case FailureClass::serviceFault:
        return QLatin1StringView("serviceFault");
    case FailureClass::noImageService:
        return QLatin1StringView("noImageService");
    case FailureClass::unexpectedAnswer:
        return QLatin1StringView("unexpectedAnswer");
    case FailureClass::refused:
        return QLatin1StringView("refused");
    case FailureClass::kindNotSupported:
        return QLatin1StringView("kindNotSupported");
    case FailureClass::contentDoesNotFit:
        return QLatin1StringView("contentDoesNotFit");
    case FailureClass::notUnderstood:
        return QLatin1StringView("notUnderstood");
    case FailureClass::conversionFailed:
        return QLatin1StringView("conversionFailed");
    case FailureClass::notConfirmed:
        return QLatin1StringView("notConfirmed");
    case FailureClass::addressNotFound:
        return QLatin1StringView("addressNotFound");
    case FailureClass::notReachable:
        return QLatin1StringView("notReachable");
    case FailureClass::notSecure:
        return QLatin1StringView("notSecure");
    case FailureClass::timedOut:
        return QLatin1StringView("timedOut");
    case FailureClass::connectionLost:
        return QLatin1StringView("connectionLost");
    case FailureClass::fileMissing:
        return QLatin1StringView("fileMissing");
    case FailureClass::fileUnreadable:
        return QLatin1StringView("fileUnreadable");
    case FailureClass::fileOfAnotherImage:
        return QLatin1StringView("fileOfAnotherImage");
    case FailureClass::fileChanged:
        return QLatin1StringView("fileChanged");
    case FailureClass::withoutIdentity:
        return QLatin1StringView("withoutIdentity");
    case FailureClass::anotherVersionInCloud:
        return QLatin1StringView("anotherVersionInCloud");
    case FailureClass::notComparable:
        return QLatin1StringView("notComparable");
    case FailureClass::notLookedUp:
        return QLatin1StringView("notLookedUp");
    case FailureClass::laterVersionSent:
        return QLatin1StringView("laterVersionSent");
    case FailureClass::indexTrouble:
        return QLatin1StringView("indexTrouble");
    case FailureClass::notThereYet:
        return QLatin1StringView("notThereYet");
    case FailureClass::signInUnavailable:
        return QLatin1StringView("signInUnavailable");
    case FailureClass::machineTrouble:
        return QLatin1StringView("machineTrouble");
    case FailureClass::unknown:
        break;
    }
    return QLatin1StringView("unknown");
}

FailureClass failureClassOf(const QString &word)
{
    for (int number = 0; number < static_cast<int>(FailureClass::unknown); ++number) {
        if (rawValue(static_cast<FailureClass>(number)) == word) {
            return static_cast<FailureClass>(number);
        }
    }
    return FailureClass::unknown;
}

} // namespace gateway::core
