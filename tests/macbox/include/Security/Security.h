#pragma once

// Declarations of the system's Security interface, as far as this program uses it, written after the pages
// "Authorization Services C Reference" and "Code Signing Services" of the system's developer documentation.

#include <CoreFoundation/CoreFoundation.h>
#include <cstddef>
#include <xpc/xpc.h>

extern "C" {

// "Authorization Services C Reference": AuthorizationCreate, AuthorizationItem, AuthorizationFlags, result codes
using AuthorizationRef = const struct AuthorizationOpaqueRef *;
using AuthorizationFlags = UInt32;
enum : AuthorizationFlags {
    kAuthorizationFlagDefaults = 0,
    kAuthorizationFlagInteractionAllowed = 1 << 0,
    kAuthorizationFlagExtendRights = 1 << 1,
    kAuthorizationFlagPartialRights = 1 << 2,
    kAuthorizationFlagDestroyRights = 1 << 3,
    kAuthorizationFlagPreAuthorize = 1 << 4
};
enum : OSStatus { errAuthorizationSuccess = 0, errAuthorizationDenied = -60005, errAuthorizationCanceled = -60006 };

using AuthorizationString = const char *;
struct AuthorizationItem {
    AuthorizationString name;
    std::size_t valueLength;
    void *value;
    UInt32 flags;
};
struct AuthorizationItemSet {
    UInt32 count;
    AuthorizationItem *items;
};
using AuthorizationRights = AuthorizationItemSet;
using AuthorizationEnvironment = AuthorizationItemSet;

OSStatus AuthorizationCreate(const AuthorizationRights *rights, const AuthorizationEnvironment *environment,
                             AuthorizationFlags flags, AuthorizationRef *authorization);
OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags);

// "Code Signing Services": SecCodeCreateWithXPCMessage (macOS 11), SecRequirementCreateWithString, SecCodeCheckValidity
using SecCodeRef = struct __SecCode *;
using SecRequirementRef = struct __SecRequirement *;
using SecCSFlags = UInt32;
enum : SecCSFlags { kSecCSDefaultFlags = 0 };
enum : OSStatus { errSecSuccess = 0, errSecCSReqFailed = -67050, errSecCSReqInvalid = -67052 };

OSStatus SecCodeCreateWithXPCMessage(xpc_object_t message, SecCSFlags flags, SecCodeRef *target)
    __attribute__((availability(macos, introduced = 11.0)));
OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags, SecRequirementRef *requirement);
OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags flags, SecRequirementRef requirement);

} // extern "C"
