#include "CoreFoundation.h"
#include "Xpc.h"
#include "box.h"

#include <Security/Security.h>
#include <map>

// Authorization, with a scripted user, and code signing. What is said of a
// promise is what "Authorization Services" and "Code Signing Services" of the developer documentation promise.

using macbox::record;
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

/// Promise: without the flag for interaction, or where nobody can be asked, the status says that interaction is not
/// allowed; without the flag for extended rights no right is given.
OSStatus askUser(AuthorizationFlags flags) {
    constexpr OSStatus interactionNotAllowed = -60007;
    const std::map<std::string, OSStatus> answers = {{"grants", errAuthorizationSuccess},
                                                     {"cancels", errAuthorizationCanceled},
                                                     {"denies", errAuthorizationDenied},
                                                     {"absent", interactionNotAllowed}};
    if ((flags & kAuthorizationFlagExtendRights) == 0) {
        return errAuthorizationDenied;
    }
    if ((flags & kAuthorizationFlagInteractionAllowed) == 0) {
        return interactionNotAllowed;
    }
    macbox::delayAt("user");
    return answers.at(macbox::setting("user"));
}

} // namespace

extern "C" {

/// Promise: with success a reference that the caller owns; with any other status the slot stays as it was.
OSStatus AuthorizationCreate(const AuthorizationRights *rights, const AuthorizationEnvironment *environment,
                             AuthorizationFlags flags, AuthorizationRef *authorization) {
    record("AuthorizationCreate rights=" + describe(rights) + " environment=" + describe(environment) +
           " flags=" + to_string(flags) + " slot=" + nullOrSet(*authorization));
    const OSStatus status = askUser(flags);
    if (status == errAuthorizationSuccess) {
        *authorization = reinterpret_cast<AuthorizationRef>(&grant);
    }
    return status;
}

/// Promise: the reference is nobody's any more; what was granted stays with the process.
OSStatus AuthorizationFree(AuthorizationRef, AuthorizationFlags) {
    record("AuthorizationFree");
    return 0;
}

/// Promise: the code that sent the message, which the caller owns, or the reason why it is not known.
OSStatus SecCodeCreateWithXPCMessage(xpc_object_t message, SecCSFlags flags, SecCodeRef *target) {
    record("SecCodeCreateWithXPCMessage message=" + std::string(xpc_type_get_name(xpc_get_type(message))) +
           " flags=" + to_string(flags));
    constexpr OSStatus codeUnsigned = -67062;
    const macbox::Texts *sender = macbox::senderOf(message);
    if (sender == nullptr || macbox::isSet("message code", "unknown")) {
        return codeUnsigned;
    }
    *target = const_cast<SecCodeRef>(static_cast<const __SecCode *>(macbox::makeOther(*sender)));
    return errSecSuccess;
}

/// Promise: a requirement that the caller owns, or the status for a text that is none.
OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags, SecRequirementRef *requirement) {
    record("SecRequirementCreateWithString text=" + macbox::text(text) + " flags=" + to_string(flags));
    const auto read = macbox::readRequirement(macbox::text(text));
    if (!read || macbox::isSet("requirement text", "refused")) {
        return errSecCSReqInvalid;
    }
    *requirement = const_cast<SecRequirementRef>(static_cast<const __SecRequirement *>(macbox::makeOther(*read)));
    return errSecSuccess;
}

/// Promise: code that is not signed, or not as the requirement says, is not valid.
OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags flags, SecRequirementRef requirement) {
    record("SecCodeCheckValidity code=" + nullOrSet(code) + " flags=" + to_string(flags) +
           " requirement=" + nullOrSet(requirement));
    const auto &facts = std::any_cast<const macbox::Texts &>(macbox::valueOf(code));
    const bool isValid =
        !facts.empty() && (requirement == nullptr ||
                           satisfies(facts, std::any_cast<const macbox::Requirement &>(macbox::valueOf(requirement))));
    return isValid ? errSecSuccess : errSecCSReqFailed;
}

} // extern "C"
