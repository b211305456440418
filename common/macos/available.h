#pragma once

/// KYB_MACOS_AVAILABLE(12): whether the running system is macOS 12 or newer. Only as the whole condition of an `if`,
/// where the compiler takes it as leave to call what that system brought.
#if defined(__APPLE__)
#define KYB_MACOS_AVAILABLE(version) __builtin_available(macOS version, *)
#else
// NB: elsewhere the built-in is always true; the box that plays a Mac says which macOS it is.
extern "C" bool kybMacBoxAtLeast(int version);
#define KYB_MACOS_AVAILABLE(version) kybMacBoxAtLeast(version)
#endif
