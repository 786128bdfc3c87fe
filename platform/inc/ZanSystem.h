#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "QelExport.h"

// All operating-system services that the library uses, behind one interface, so that a test can
// make any of them fail. The default calls the system.
//
// A replacement is installed before other threads use the library and must outlive its use. Its
// operations are called from any thread.
class QEL_API ZanSystem {
  public:
    virtual ~ZanSystem();

    // The current services.
    static ZanSystem & current() noexcept;

    // Installs `services`, null for the default ones. Returns the previous ones, null for the
    // default. Takes no ownership.
    static ZanSystem * replace(ZanSystem * services) noexcept;

    // Pixel memory from the general heap, by ::operator new, so that ::operator delete frees it.
    // Null when there is none. A size of 0 gives a unique address.
    virtual void * allocate(std::size_t bytes) noexcept;
    virtual void release(void * memory) noexcept;

    // Memory in whole pages. The page size in bytes, a power of two, the same for the life of the
    // process.
    virtual std::size_t pageSize() noexcept;
    // New pages, all zero, readable and writable. Null when there are none, and for 0 bytes; errno
    // then says why.
    virtual void * mapMemory(std::size_t bytes) noexcept;
    // Lock pages in memory, so that they are not swapped out, and unlock them. The limit on locked
    // memory is per user and often small. 0, or -1 and errno.
    virtual int lockMemory(void * memory, std::size_t bytes) noexcept;
    virtual int unlockMemory(void * memory, std::size_t bytes) noexcept;
    // Unmaps pages of mapMemory(). 0, or -1 and errno.
    virtual int unmapMemory(void * memory, std::size_t bytes) noexcept;

    // Files. Each returns the POSIX call's result and sets errno on failure; all but closeFile are
    // retried when a signal interrupts them. Programs that the process starts do not inherit opened
    // files. Reads and writes may transfer less than requested.
    virtual int openFile(std::string const & name, int flags, unsigned mode);
    virtual std::ptrdiff_t readFile(int file, void * to, std::size_t bytes);
    virtual std::ptrdiff_t writeFile(int file, void const * from, std::size_t bytes);
    virtual int syncFile(int file);
    // Never retried: whatever it returns, the descriptor is free and may be another thread's file.
    virtual int closeFile(int file);
    virtual int renameFile(std::string const & from, std::string const & to);
    virtual int removeFile(std::string const & name);

    // Starts a detached thread that runs `body`. Requires: `body` throws no exception. Returns 0 or
    // an error number of errno.h; errno itself may change.
    virtual int launchThread(std::function<void()> body);

    // Gives the thread with that number a priority from -2 (least) to 2 (most), where 0 is the
    // priority of the process. Returns 0 or an error number.
    // Requires: the thread has not ended.
    virtual int setThreadPriority(int systemThread, int priority);

    // The number by which setThreadPriority knows the calling thread; never 0.
    virtual int callingThread();
};
