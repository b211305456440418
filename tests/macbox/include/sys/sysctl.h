#pragma once

// Declarations of what the system's C library has over this machine's, as far as this program uses it, written after
// the manual page sysctl(3).

#include <cstddef>
#include <sys/types.h>

enum { CTL_KERN = 1, KERN_PROC = 14, KERN_PROC_ALL = 0 };
enum { SZOMB = 5 };

struct extern_proc {
    char p_stat;
    pid_t p_pid;
};

struct kinfo_proc {
    extern_proc kp_proc;
};

extern "C" int sysctl(int *name, unsigned nameLength, void *old, size_t *oldLength, void *fresh, size_t freshLength);
