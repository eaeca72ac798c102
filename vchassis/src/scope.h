// SPDX-License-Identifier: MIT
// The way from an interposed function into the session, and the lock on the way.
#pragma once

#include <memory>
#include <type_traits>

#include "paths.h"
#include "session.h"

// A function that programs find in front of the one of libc.
#define INTERPOSED extern "C" __attribute__((visibility("default")))

namespace vchassis {

// Makes this the session that calls of this process go to, and says which one it replaces. Null:
// everything goes to libc. With the lock held.
Session *exchange_session(Session *session);

// Holds the lock and marks this thread as inside: interposed functions called from here, also by
// the C++ library, go straight to libc. For the handle.
class Inside {
  public:
    Inside();
    ~Inside();
    Inside(const Inside &) = delete;
    Inside &operator=(const Inside &) = delete;
};

// One interposed call. Converts to false, and holds nothing, when the call is none of ours; else
// the session may be used through `->`, and errno becomes what give() was told.
class Entry {
  public:
    // Any call while a chassis is active.
    Entry();
    // A call on a descriptor.
    explicit Entry(int fd);
    // A call on a path, as openat() takes it.
    Entry(int dirfd, const char *path);
    ~Entry();
    Entry(const Entry &) = delete;
    Entry &operator=(const Entry &) = delete;

    explicit operator bool() const { return session_ != nullptr; }
    Session *operator->() const { return session_; }
    const Place &place() const { return place_; }

    template <class Result = long>
    Result give(Outcome outcome) {
        if (outcome.result < 0 && outcome.error != 0) {
            errno_ = outcome.error;
        }
        return static_cast<Result>(outcome.result);
    }

  private:
    void enter();
    void leave();

    Session *session_ = nullptr;
    Place place_;
    int errno_;
};

// Whether a path, as open() takes it, leads into a chassis.
bool is_ours(const char *path);

}  // namespace vchassis
