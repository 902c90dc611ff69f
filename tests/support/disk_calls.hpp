// Sees, replaces and puts off the calls of this program that change the disk.

#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace test {

/// A call: its function, the descriptor and the name that it changes, and of a link or a renaming
/// those that it comes from.
struct DiskCall {
    std::string function;
    int descriptor = -1;
    const char* name = nullptr;
    int from = -1;
    const char* from_name = nullptr;
};

/// Sees the calls of its thread while it lives. Observers nest; the last one is asked first.
class DiskObserver {
public:
    DiskObserver();
    DiskObserver(const DiskObserver&) = delete;
    DiskObserver& operator=(const DiskObserver&) = delete;
    virtual ~DiskObserver();

    /// What before may return besides an error with which the call fails: 0 lets it pass.
    enum : int {
        left_out = -1,
        put_off = -2
    }; // succeeds without effect; takes effect after the next

    virtual int before(const DiskCall& /*call*/) { return 0; }
    /// The same for the calls that only look at a name, or open it for reading: 0 lets it pass.
    virtual int before_look(const DiskCall& /*call*/) { return 0; }
    /// Called before a call that was put off, after the one that took its place.
    virtual void between() {}
    /// Called after a success, with what the call returned.
    virtual void after(const DiskCall& /*call*/, int /*result*/) {}

    DiskObserver* outer;
};

/// Lets the first calls pass, of all or of one function, and does something else with the next, or
/// with all others.
class AtCall : public DiskObserver {
public:
    AtCall(int passing, std::function<int()> then, std::string function = "", bool always = false)
        : passing_(passing),
          then_(std::move(then)),
          function_(std::move(function)),
          always_(always) {}
    int before(const DiskCall& call) override {
        if (!function_.empty() && call.function != function_)
            return 0;
        --passing_;
        return passing_ == -1 || (always_ && passing_ < 0) ? then_() : 0;
    }
    [[nodiscard]] bool was_reached() const { return passing_ < 0; }

private:
    int passing_;
    std::function<int()> then_;
    std::string function_;
    bool always_;
};

/// While it lives, the file system of every file says that it is of this type (see linux/magic.h).
class ReportedFileSystem {
public:
    explicit ReportedFileSystem(std::uint32_t type);
    ReportedFileSystem(const ReportedFileSystem&) = delete;
    ReportedFileSystem& operator=(const ReportedFileSystem&) = delete;
    ~ReportedFileSystem();
};

/// While it lives, names that differ in case alone are those of one file.
class IgnoredCase {
public:
    IgnoredCase();
    IgnoredCase(const IgnoredCase&) = delete;
    IgnoredCase& operator=(const IgnoredCase&) = delete;
    ~IgnoredCase();
};

/// Lets one call fail that only looks at a name, or opens it for reading: the n-th of those whose
/// names contain a text.
class FailingLook : public DiskObserver {
public:
    FailingLook(int passing, int error, std::string name = "")
        : passing_(passing),
          error_(error),
          name_(std::move(name)) {}
    int before_look(const DiskCall& call) override {
        const bool is_one = std::string(call.name).find(name_) != std::string::npos;
        return is_one && passing_-- == 0 ? error_ : 0;
    }
    [[nodiscard]] bool was_reached() const { return passing_ < 0; }

private:
    int passing_;
    int error_;
    std::string name_;
};

/// Runs `change` in a process of its own that dies before its n-th call. Returns whether it got
/// there.
template <class Change>
bool dies_at(int call, const Change& change, const std::string& function = "") {
    const pid_t child = fork();
    if (child == 0) {
        const AtCall dying(
            call,
            [] {
                _exit(1);
                return 0;
            },
            function);
        change();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    return WEXITSTATUS(status) == 1;
}

} // namespace test
