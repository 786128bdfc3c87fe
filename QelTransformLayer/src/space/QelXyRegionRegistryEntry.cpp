#include "QelXyRegionRegistryEntry.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "QelError.h"
#include "ZanImmortal.h"
#include "ZanMutex.h"

namespace {

class Registry {
  public:
    void add(QelXyRegionRegistryEntry * entry) {
        ZanLock const guard(lock_);
        entries_.push_back(entry);
    }
    void remove(QelXyRegionRegistryEntry * entry) {
        ZanLock const guard(lock_);
        std::erase(entries_, entry);
    }
    // Null if there is none.
    QelXyRegionRegistryEntry * find(std::string const & name) {
        ZanLock const guard(lock_);
        auto const found = std::find_if(entries_.begin(), entries_.end(),
                                        [&](auto const * entry) { return entry->name() == name; });
        return found != entries_.end() ? *found : nullptr;
    }

  private:
    ZanMutex lock_;
    std::vector<QelXyRegionRegistryEntry *> entries_ ZAN_GUARDED_BY(lock_);
};

// Made by the first entry, whichever static object that is.
Registry & registry() {
    static ZanImmortal<Registry> theRegistry;
    return theRegistry.get();
}

}  // namespace

QelXyRegionRegistryEntry::QelXyRegionRegistryEntry(std::string name) : name_(std::move(name)) {
    registry().add(this);
}

QelXyRegionRegistryEntry::~QelXyRegionRegistryEntry() {
    registry().remove(this);
}

MoxSmartPtr<QelXyRegion> qelNewRegion(std::string const & className) {
    QelXyRegionRegistryEntry const * const entry = registry().find(className);
    if (entry != nullptr) return entry->newRegion();
    qelRaise(QelErrorCode::invalidValue,
             "Class " + className + " is not registered as an QelXyRegion.");
}
