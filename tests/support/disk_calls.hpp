// Every call of this thread that changes the disk, seen before and after it is made. The program's
// open, write, rename and so on are replaced for good.

#pragma once

namespace test {

/// Sees the calls of this thread while it exists.
class DiskObserver {
public:
    DiskObserver();
    DiskObserver(DiskObserver&&) = delete; // nor a copy
    virtual ~DiskObserver();
    /// Returns the errno with which the call fails; 0 if it is to be made.
    virtual int before(const char* function) = 0;
    /// After a call that succeeded: the file that it opened or flushed, or else the directory and
    /// the name that it was given.
    virtual void after(const char* /*function*/, int /*descriptor*/, const char* /*name*/) {}
};

} // namespace test
