#pragma once

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

// The box that plays a Mac: a folder that plays "/" (KYB_MACBOX names it) and, beside it, a folder of the box's own,
// with the settings, the journal and the sockets of the services. Any thread.

namespace macbox {

/// The folder that plays "/"; empty outside of a box.
std::string root();

/// A file of the box's own.
std::string ownFile(std::string_view name);

/// What the file "settings" says, lines of "name=value"; the table in box.cpp otherwise. Read anew each time, so that a
/// test can change it while programs run.
std::string setting(std::string_view name);
void set(std::string_view name, std::string_view value);
bool isSet(std::string_view name, std::string_view value);
std::chrono::milliseconds milliseconds(std::string_view name);

/// Waits as long as the setting "delay.<crossing>" says, and notes then that it did.
void delayAt(std::string_view crossing);

/// Adds a line to the journal: "program: call". One write, so that lines of several programs stay whole.
void record(std::string_view call);

/// How many objects of the system's this process has made and not given back.
int liveObjects();
void countObject(int change);

/// Gives one of \p object's references back; destroys it with the last. One too many ends the program: the memory
/// stays, and the count in it.
template <typename T> void releaseOne(T *object) {
    const int before = object->references--;
    if (before < 1) {
        std::abort();
    }
    if (before == 1) {
        std::destroy_at(object);
    }
}

/// Runs \p work on a thread that ends by itself, and takes no signals, as the system's own threads do not.
template <typename Work> void onOwnThread(Work work) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread(std::move(work)).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace macbox
