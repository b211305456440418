#include "FakeMacOS.h"

#include <ApplicationServices/ApplicationServices.h>
#include <Security/Security.h>
#include <ServiceManagement/ServiceManagement.h>

using std::to_string;

namespace {

/// The one grant that AuthorizationCreate hands out.
const int grant = 0;

std::string describe(const AuthorizationItemSet *set) {
    if (set == nullptr) {
        return "null";
    }
    std::string text = "[";
    for (UInt32 i = 0; i < set->count; ++i) {
        const AuthorizationItem &item = set->items[i];
        text += "{name=" + std::string(item.name) + " valueLength=" + to_string(item.valueLength) +
                " value=" + (item.value == nullptr ? "null" : "set") + " flags=" + to_string(item.flags) + "}";
    }
    return text + "]";
}

std::string nullOrSet(const void *pointer) {
    return pointer == nullptr ? "null" : "set";
}

/// Code and requirement objects are made and given back like every other one.
template <typename Ref> Ref makeObject() {
    return reinterpret_cast<Ref>(fake::makeError());
}

} // namespace

extern "C" {

const CFStringRef kSMDomainUserLaunchd =
    CFStringCreateWithCString(nullptr, "kSMDomainUserLaunchd", kCFStringEncodingUTF8);
const CFStringRef kSMDomainSystemLaunchd =
    CFStringCreateWithCString(nullptr, "kSMDomainSystemLaunchd", kCFStringEncodingUTF8);

OSStatus AuthorizationCreate(const AuthorizationRights *rights, const AuthorizationEnvironment *environment,
                             AuthorizationFlags flags, AuthorizationRef *authorization) {
    fake::record("AuthorizationCreate rights=" + describe(rights) + " environment=" + describe(environment) +
                 " flags=" + to_string(flags) + " slot=" + nullOrSet(*authorization));
    if (fake::machine().authorizationStatus == 0) {
        *authorization = reinterpret_cast<AuthorizationRef>(&grant);
    }
    return fake::machine().authorizationStatus;
}

OSStatus AuthorizationFree(AuthorizationRef, AuthorizationFlags) {
    fake::record("AuthorizationFree");
    return 0;
}

Boolean SMJobBless(CFStringRef domain, CFStringRef executableLabel, AuthorizationRef authorization, CFErrorRef *error) {
    const bool isGrant = authorization == reinterpret_cast<AuthorizationRef>(&grant);
    fake::record("SMJobBless domain=" + fake::text(domain) + " label=" + fake::text(executableLabel) +
                 " authorization=" + (isGrant ? "the grant" : nullOrSet(authorization)) + " error=" + nullOrSet(error));
    if (error != nullptr && fake::machine().blessError != nullptr) {
        *error = fake::machine().blessError;
    }
    return fake::machine().blessResult;
}

OSStatus SecCodeCreateWithXPCMessage(xpc_object_t message, SecCSFlags flags, SecCodeRef *target) {
    fake::record("SecCodeCreateWithXPCMessage message=" + std::string(xpc_type_get_name(xpc_get_type(message))) +
                 " flags=" + to_string(flags));
    if (!fake::machine().messageHasCode) {
        return -67062;
    }
    *target = makeObject<SecCodeRef>();
    return errSecSuccess;
}

OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags, SecRequirementRef *requirement) {
    fake::record("SecRequirementCreateWithString text=" + fake::text(text) + " flags=" + to_string(flags));
    if (!fake::machine().requirementTextIsValid) {
        return errSecCSReqInvalid;
    }
    *requirement = makeObject<SecRequirementRef>();
    return errSecSuccess;
}

OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags flags, SecRequirementRef requirement) {
    fake::record("SecCodeCheckValidity code=" + nullOrSet(code) + " flags=" + to_string(flags) +
                 " requirement=" + nullOrSet(requirement));
    return fake::machine().clientSatisfiesRequirement ? errSecSuccess : errSecCSReqFailed;
}

OSStatus TransformProcessType(const ProcessSerialNumber *process, ProcessApplicationTransformState state) {
    fake::record("TransformProcessType process=" + to_string(process->highLongOfPSN) + ":" +
                 to_string(process->lowLongOfPSN) + " state=" + to_string(state));
    return 0;
}

} // extern "C"
