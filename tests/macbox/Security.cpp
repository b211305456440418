#include "CoreFoundation.h"
#include "Xpc.h"
#include "box.h"

#include <Security/Security.h>
#include <map>
#include <mutex>

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

/// What the references to code and to requirements stand for, until they are given back.
template <typename Value> class Values {
public:
    CFTypeRef add(Value value) {
        const std::lock_guard lock(mutex_);
        const CFTypeRef object = macbox::makeOther();
        values_[object] = std::move(value);
        return object;
    }
    Value of(const void *object) {
        const std::lock_guard lock(mutex_);
        return values_.at(object);
    }

private:
    std::mutex mutex_;
    std::map<const void *, Value> values_;
};
Values<macbox::Texts> codes;
Values<macbox::Requirement> requirements;

} // namespace

extern "C" {

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

OSStatus AuthorizationFree(AuthorizationRef, AuthorizationFlags) {
    record("AuthorizationFree");
    return 0;
}

OSStatus SecCodeCreateWithXPCMessage(xpc_object_t message, SecCSFlags flags, SecCodeRef *target) {
    record("SecCodeCreateWithXPCMessage message=" + std::string(xpc_type_get_name(xpc_get_type(message))) +
           " flags=" + to_string(flags));
    constexpr OSStatus codeUnsigned = -67062;
    const macbox::Texts *sender = macbox::senderOf(message);
    if (sender == nullptr || macbox::isSet("message code", "unknown")) {
        return codeUnsigned;
    }
    *target = const_cast<SecCodeRef>(static_cast<const __SecCode *>(codes.add(*sender)));
    return errSecSuccess;
}

OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags, SecRequirementRef *requirement) {
    record("SecRequirementCreateWithString text=" + macbox::text(text) + " flags=" + to_string(flags));
    const auto read = macbox::readRequirement(macbox::text(text));
    if (!read || macbox::isSet("requirement text", "refused")) {
        return errSecCSReqInvalid;
    }
    *requirement = const_cast<SecRequirementRef>(static_cast<const __SecRequirement *>(requirements.add(*read)));
    return errSecSuccess;
}

/// Promise: code that is not signed, or not as the requirement says, is not valid.
OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags flags, SecRequirementRef requirement) {
    record("SecCodeCheckValidity code=" + nullOrSet(code) + " flags=" + to_string(flags) +
           " requirement=" + nullOrSet(requirement));
    const macbox::Texts facts = codes.of(code);
    const bool isValid = !facts.empty() && (requirement == nullptr || satisfies(facts, requirements.of(requirement)));
    return isValid ? errSecSuccess : errSecCSReqFailed;
}

} // extern "C"
