#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "QelExport.h"

// Every service of the operating system that the library asks for, behind one interface, so that
// a test can make any of them fail. The default asks the system.
//
// A replacement is installed before other threads use the library and must outlive its use. Its
// operations are called from any thread.
class QEL_API ZanSystem {
  public:
    virtual ~ZanSystem();

    // The services in force.
    static ZanSystem & current() noexcept;

    // Installs `services`, null for the default ones. Returns what was in force, null for the
    // default. Takes no ownership.
    static ZanSystem * replace(ZanSystem * services) noexcept;

    // Pixel memory of the general heap: what ::operator new gives, so that ::operator delete
    // frees it. Null when there is none. A size of 0 gives an address of its own.
    virtual void * allocate(std::size_t bytes) noexcept;
    virtual void release(void * memory) noexcept;

    // Memory by whole pages. The size of one in bytes, a power of two, the same for the life of
    // the process.
    virtual std::size_t pageSize() noexcept;
    // Pages of their own, all zero, that can be read and written. Null when there are none, and
    // for 0 bytes; errno then says why.
    virtual void * mapMemory(std::size_t bytes) noexcept;
    // Keeps pages in memory, where nothing moves them to a disk, and lets them go again. The limit
    // of locked memory is the user's and often small. 0, or -1 and errno.
    virtual int lockMemory(void * memory, std::size_t bytes) noexcept;
    virtual int unlockMemory(void * memory, std::size_t bytes) noexcept;
    // Gives pages of mapMemory() back. 0, or -1 and errno.
    virtual int unmapMemory(void * memory, std::size_t bytes) noexcept;

    // Files. Each returns the POSIX call's result and leaves errno on failure; all but closeFile
    // are repeated when a signal interrupts them. Opened files are not inherited by programs that
    // the process starts. Reads and writes may transfer less than asked for.
    virtual int openFile(std::string const & name, int flags, unsigned mode);
    virtual std::ptrdiff_t readFile(int file, void * to, std::size_t bytes);
    virtual std::ptrdiff_t writeFile(int file, void const * from, std::size_t bytes);
    virtual int syncFile(int file);
    // Never repeated: the number is free, and may be another thread's file, whatever is returned.
    virtual int closeFile(int file);
    virtual int renameFile(std::string const & from, std::string const & to);
    virtual int removeFile(std::string const & name);

    // Starts a detached thread that runs `body`. Requires: `body` lets no exception out.
    // Returns 0 or an error number of errno.h; errno itself may change.
    virtual int launchThread(std::function<void()> body);

    // Gives the thread with that number a priority from -2 (least) to 2 (most), where 0 is the
    // priority of the process. Returns 0 or an error number.
    // Requires: the thread has not ended.
    virtual int setThreadPriority(int systemThread, int priority);

    // The number by which setThreadPriority knows the calling thread; never 0.
    virtual int callingThread();
};
