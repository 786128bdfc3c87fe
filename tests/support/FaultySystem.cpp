#include "FaultySystem.h"

#include <algorithm>
#include <cerrno>
#include <utility>

void FaultySystem::Plan::order(std::uint64_t n, int errorNumber, bool forGood) {
    failing = n == 0 ? 0 : calls + n;
    failAllAfter = forGood;
    error = errorNumber;
}

bool FaultySystem::Plan::count() {
    ++calls;
    return failing != 0 && (calls == failing || (failAllAfter && calls > failing));
}

FaultySystem::FaultySystem()
    : before_(ZanSystem::replace(nullptr)), next_(before_ != nullptr ? *before_ : plain_) {
    ZanSystem::replace(this);
}

FaultySystem::~FaultySystem() {
    ZanSystem::replace(before_);
}

void FaultySystem::failAllocation(std::uint64_t n) {
    std::lock_guard const guard(lock_);
    allocationPlan_.order(n, ENOMEM, false);
}

void FaultySystem::failAllocationsFrom(std::uint64_t n) {
    std::lock_guard const guard(lock_);
    allocationPlan_.order(n, ENOMEM, true);
}

void FaultySystem::failMemory(MemoryOp op, std::uint64_t n, int error) {
    std::lock_guard const guard(lock_);
    memoryPlans_[op].order(n, error, false);
}

void FaultySystem::failMemoryFrom(MemoryOp op, std::uint64_t n, int error) {
    std::lock_guard const guard(lock_);
    memoryPlans_[op].order(n, error, true);
}

void FaultySystem::failFile(FileOp op, std::uint64_t n, int error) {
    std::lock_guard const guard(lock_);
    filePlans_[op].order(n, error, false);
}

void FaultySystem::limitTransfers(std::size_t bytes) {
    std::lock_guard const guard(lock_);
    transferLimit_ = bytes;
}

void FaultySystem::failLaunch(std::uint64_t n, int error) {
    std::lock_guard const guard(lock_);
    launchPlan_.order(n, error, false);
}

std::uint64_t FaultySystem::allocations() const {
    return look(allocationPlan_).calls;
}

std::uint64_t FaultySystem::memoryCalls(MemoryOp op) const {
    return look(memoryPlans_[op]).calls;
}

std::uint64_t FaultySystem::fileCalls(FileOp op) const {
    return look(filePlans_[op]).calls;
}

std::uint64_t FaultySystem::launches() const {
    return look(launchPlan_).calls;
}

std::uint64_t FaultySystem::releases() const {
    return look(releases_);
}

std::uint64_t FaultySystem::foreignReleases() const {
    return look(foreignReleases_);
}

std::uint64_t FaultySystem::liveAllocations() const {
    std::lock_guard const guard(lock_);
    return blocks_.size();
}

std::size_t FaultySystem::liveBytes() const {
    return look(liveBytes_);
}

std::size_t FaultySystem::peakBytes() const {
    return look(peakBytes_);
}

std::uint64_t FaultySystem::liveMappings() const {
    std::lock_guard const guard(lock_);
    return mappings_.size();
}

std::size_t FaultySystem::mappedBytes() const {
    return look(mappedBytes_);
}

std::uint64_t FaultySystem::foreignPages() const {
    return look(foreignPages_);
}

std::int64_t FaultySystem::openFiles() const {
    return look(openFiles_);
}

std::uint64_t FaultySystem::failures() const {
    return look(failures_);
}

bool FaultySystem::fails(Plan & plan) {
    std::lock_guard const guard(lock_);
    if (!plan.count()) return false;
    ++failures_;
    errno = plan.error;
    return true;
}

bool FaultySystem::failsFile(FileOp op) {
    return fails(filePlans_[op]);
}

std::size_t FaultySystem::allowed(std::size_t bytes) const {
    std::size_t const limit = look(transferLimit_);
    return limit == 0 ? bytes : std::min(bytes, limit);
}

void FaultySystem::countOut(void * memory, std::size_t bytes) {
    std::lock_guard const guard(lock_);
    blocks_[memory] = bytes;
    liveBytes_ += bytes;
    peakBytes_ = std::max(peakBytes_, liveBytes_);
}

void FaultySystem::countBack(void * memory) {
    std::lock_guard const guard(lock_);
    auto const block = blocks_.find(memory);
    if (block == blocks_.end()) {
        ++foreignReleases_;
        return;
    }
    ++releases_;
    liveBytes_ -= block->second;
    blocks_.erase(block);
}

void FaultySystem::checkPages(void * memory, std::size_t bytes) {
    std::lock_guard const guard(lock_);
    auto const mapping = mappings_.find(memory);
    if (mapping == mappings_.end() || mapping->second != bytes) ++foreignPages_;
}

void FaultySystem::countUnmapped(void * memory, std::size_t bytes) {
    std::lock_guard const guard(lock_);
    auto const mapping = mappings_.find(memory);
    if (mapping == mappings_.end() || mapping->second != bytes) return;
    mappedBytes_ -= bytes;
    mappings_.erase(mapping);
}

void * FaultySystem::allocate(std::size_t bytes) noexcept {
    if (fails(allocationPlan_)) return nullptr;
    void * const memory = next_.allocate(bytes);
    if (memory != nullptr) countOut(memory, bytes);
    return memory;
}

void FaultySystem::release(void * memory) noexcept {
    // Ahead of the release: another thread may be given the same address right after it.
    if (memory != nullptr) countBack(memory);
    next_.release(memory);
}

std::size_t FaultySystem::pageSize() noexcept {
    return next_.pageSize();
}

void * FaultySystem::mapMemory(std::size_t bytes) noexcept {
    if (fails(memoryPlans_[MAP])) return nullptr;
    void * const memory = next_.mapMemory(bytes);
    if (memory == nullptr) return nullptr;
    std::lock_guard const guard(lock_);
    mappings_[memory] = bytes;
    mappedBytes_ += bytes;
    return memory;
}

int FaultySystem::lockMemory(void * memory, std::size_t bytes) noexcept {
    return fails(memoryPlans_[LOCK]) ? -1 : next_.lockMemory(memory, bytes);
}

int FaultySystem::unlockMemory(void * memory, std::size_t bytes) noexcept {
    checkPages(memory, bytes);
    return fails(memoryPlans_[UNLOCK]) ? -1 : next_.unlockMemory(memory, bytes);
}

int FaultySystem::unmapMemory(void * memory, std::size_t bytes) noexcept {
    checkPages(memory, bytes);
    if (fails(memoryPlans_[UNMAP])) return -1;
    // Ahead of the call, as in release().
    countUnmapped(memory, bytes);
    return next_.unmapMemory(memory, bytes);
}

int FaultySystem::openFile(std::string const & name, int flags, unsigned mode) {
    if (failsFile(OPEN)) return -1;
    int const file = next_.openFile(name, flags, mode);
    std::lock_guard const guard(lock_);
    if (file >= 0) ++openFiles_;
    return file;
}

std::ptrdiff_t FaultySystem::readFile(int file, void * to, std::size_t bytes) {
    return failsFile(READ) ? -1 : next_.readFile(file, to, allowed(bytes));
}

std::ptrdiff_t FaultySystem::writeFile(int file, void const * from, std::size_t bytes) {
    return failsFile(WRITE) ? -1 : next_.writeFile(file, from, allowed(bytes));
}

int FaultySystem::syncFile(int file) {
    return failsFile(SYNC) ? -1 : next_.syncFile(file);
}

int FaultySystem::closeFile(int file) {
    int const closed = next_.closeFile(file);
    {
        std::lock_guard const guard(lock_);
        if (closed == 0) --openFiles_;
    }
    return failsFile(CLOSE) ? -1 : closed;
}

int FaultySystem::renameFile(std::string const & from, std::string const & to) {
    return failsFile(RENAME) ? -1 : next_.renameFile(from, to);
}

int FaultySystem::removeFile(std::string const & name) {
    return failsFile(REMOVE) ? -1 : next_.removeFile(name);
}

int FaultySystem::launchThread(std::function<void()> body) {
    return fails(launchPlan_) ? errno : next_.launchThread(std::move(body));
}

int FaultySystem::setThreadPriority(int systemThread, int priority) {
    return next_.setThreadPriority(systemThread, priority);
}

int FaultySystem::callingThread() {
    return next_.callingThread();
}
