#include "macos/client_trust.h"

#include "code_requirement.h"
#include "macos/cf_ref.h"

#include <Security/Security.h>

namespace kyb::helper {
namespace {

CFOwned<SecCodeRef> senderOf(xpc_object_t message) {
    SecCodeRef code = nullptr;
    const OSStatus status = SecCodeCreateWithXPCMessage(message, kSecCSDefaultFlags, &code);
    return status == errSecSuccess ? CFOwned(code) : CFOwned<SecCodeRef>();
}

CFOwned<SecRequirementRef> clientRequirement() {
    const CFOwned text(CFStringCreateWithCString(kCFAllocatorDefault, kClientRequirement, kCFStringEncodingUTF8));
    SecRequirementRef requirement = nullptr;
    const OSStatus status = SecRequirementCreateWithString(text.get(), kSecCSDefaultFlags, &requirement);
    return status == errSecSuccess ? CFOwned(requirement) : CFOwned<SecRequirementRef>();
}

} // namespace

bool isFromTrustedClient(xpc_object_t message) {
    const CFOwned<SecCodeRef> sender = senderOf(message);
    const CFOwned<SecRequirementRef> requirement = clientRequirement();
    // NB: without a requirement the check would only ask whether the code is signed at all.
    return sender && requirement &&
           SecCodeCheckValidity(sender.get(), kSecCSDefaultFlags, requirement.get()) == errSecSuccess;
}

} // namespace kyb::helper
