#pragma once

/// KYB_MACOS_AVAILABLE(12): whether the running system is macOS 12 or newer. Only as the whole condition of an `if`,
/// where the compiler takes it as leave to call what that system brought.
#if defined(__APPLE__)
#define KYB_MACOS_AVAILABLE(version) __builtin_available(macOS version, *)
#else
// NB: elsewhere the built-in is always true; the tests' fake of the system says which macOS it plays.
extern "C" bool kybFakeMacOSAtLeast(int version);
#define KYB_MACOS_AVAILABLE(version) kybFakeMacOSAtLeast(version)
#endif
