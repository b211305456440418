#include "platform/privileges.h"

#include "platform/macos/cf_string.h"
#include "platform/posix/connection_events.h"

#include <Security/Security.h>
#include <ServiceManagement/ServiceManagement.h>

namespace kyb {
namespace {

constexpr char kBlessRight[] = "com.apple.ServiceManagement.blesshelper";

/// How long a registration waits for events of earlier connections, whose news stand in the log then. That there is no
/// helper is a matter of milliseconds; the limit is for the connection that waits for a helper that works.
constexpr std::chrono::milliseconds kEventsTimeout{2000};

} // namespace

std::int32_t requestAdministratorRights(AdministratorRights *rights) {
    AuthorizationItem item = {kBlessRight, 0, nullptr, 0};
    const AuthorizationRights wanted = {1, &item};
    constexpr AuthorizationFlags flags =
        kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights | kAuthorizationFlagPreAuthorize;
    AuthorizationRef reference = nullptr;
    const OSStatus status = AuthorizationCreate(&wanted, nullptr, flags, &reference);
    if (status == errAuthorizationSuccess) {
        // NB: never given back (AuthorizationFree): the grant lives as long as the process.
        *rights = reinterpret_cast<AdministratorRights>(const_cast<AuthorizationOpaqueRef *>(reference));
    }
    return status;
}

bool installHelperTool(const QString &label, AdministratorRights rights, PlatformError *error) {
    connectionEvents().waitFor(kEventsTimeout);
    if (!SMJobBless(kSMDomainSystemLaunchd, toCFString(label).get(), reinterpret_cast<AuthorizationRef>(rights),
                    reinterpret_cast<CFErrorRef *>(error))) {
        return false;
    }
    connectionEvents().forget(); // what becomes of a connection to the helper before this one is no failure
    return true;
}

} // namespace kyb
