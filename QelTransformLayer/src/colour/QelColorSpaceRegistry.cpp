#include "QelColorSpaceRegistry.h"

#include <string_view>
#include <utility>
#include <vector>

#include "QelColorSpaceFamily.h"
#include "QelError.h"
#include "ZanImmortal.h"
#include "ZanMutex.h"

namespace {

// One space that can be found.
struct Known {
    MoxSmartPtr<QelColorSpace> prototype;
    std::string name;
};

// The library's own, in the order of their table, which never change, then those of clients,
// whichever were registered first.
class Registry {
  public:
    Registry() {
        for (QelColorSpaceRow const & row : qelColorSpaceRows())
            family_.push_back({row.create(), row.name});
    }

    void add(QelColorSpaceRegistryEntry const * entry) {
        ZanLock const guard(lock_);
        entries_.push_back(entry);
    }
    void remove(QelColorSpaceRegistryEntry const * entry) {
        ZanLock const guard(lock_);
        std::erase(entries_, entry);
    }

    // The first prototype that `fits(prototype, label)`; null if there is none.
    template <class Fits>
    MoxConstSmartPtr<QelColorSpace> find(Fits const & fits) {
        for (Known const & known : family_) {
            if (fits(*known.prototype, known.name)) return known.prototype.get();
        }
        ZanLock const guard(lock_);
        for (QelColorSpaceRegistryEntry const * entry : entries_) {
            if (fits(entry->prototype(), entry->name())) return &entry->prototype();
        }
        return nullptr;
    }

    std::vector<MoxConstSmartPtr<QelColorSpace>> all() {
        std::vector<MoxConstSmartPtr<QelColorSpace>> prototypes;
        for (Known const & known : family_)
            prototypes.emplace_back(known.prototype.get());
        ZanLock const guard(lock_);
        for (QelColorSpaceRegistryEntry const * entry : entries_)
            prototypes.emplace_back(&entry->prototype());
        return prototypes;
    }

  private:
    std::vector<Known> family_;
    ZanMutex lock_;
    std::vector<QelColorSpaceRegistryEntry const *> entries_ ZAN_GUARDED_BY(lock_);
};

// Filled on first use, perhaps by a client's static object.
Registry & registry() {
    static ZanImmortal<Registry> theRegistry;
    return theRegistry.get();
}

// Whether the class has that name.
auto ofClass(std::string_view className) {
    return [className](QelColorSpace const & prototype, std::string const &) {
        return prototype.className() == className;
    };
}

MoxSmartPtr<QelColorSpace> partnerOf(QelColorSpace const & space, bool keepRange,
                                     char const * what) {
    char const * const partner = space.alphaPartnerName();
    MoxConstSmartPtr<QelColorSpace> const found =
        partner != nullptr ? qelFindColorSpaceName(partner) : nullptr;
    if (!found) {
        qelRaise(QelErrorCode::invalidValue, std::string("Class ") + space.name() +
                                                 " has no corresponding color space " + what +
                                                 " alpha.");
    }
    // Copied first: a space may return itself if the range stays, and prototypes must not be handed
    // out.
    MoxSmartPtr<QelColorSpace> const partnerSpace = found->clone();
    return keepRange ? partnerSpace->newWithRange(space.minValue(), space.maxValue())
                     : partnerSpace;
}

}  // namespace

QelColorSpaceRegistryEntry::QelColorSpaceRegistryEntry(MoxSmartPtr<QelColorSpace> prototype,
                                                       std::string name)
    : prototype_(std::move(prototype)), name_(std::move(name)) {
    if (!prototype_)
        qelRaise(QelErrorCode::nullPointer, "Null pointer passed to QelColorSpaceRegistryEntry");
    registry().add(this);
}

QelColorSpaceRegistryEntry::~QelColorSpaceRegistryEntry() {
    registry().remove(this);
}

MoxConstSmartPtr<QelColorSpace> qelFindColorSpaceClass(std::string const & className) {
    return registry().find(ofClass(className));
}

MoxConstSmartPtr<QelColorSpace> qelFindColorSpaceName(std::string const & name) {
    return registry().find(
        [&](QelColorSpace const &, std::string const & label) { return label == name; });
}

MoxConstSmartPtr<QelColorSpace> qelFindColorSpace(QelColorSpace const & space) {
    return registry().find(ofClass(space.className()));
}

std::vector<MoxConstSmartPtr<QelColorSpace>> qelColorSpaces() {
    return registry().all();
}

MoxSmartPtr<QelColorSpace> qelNewColorSpace(std::string const & className) {
    MoxConstSmartPtr<QelColorSpace> const prototype = qelFindColorSpaceClass(className);
    if (prototype) return prototype->clone();
    qelRaise(QelErrorCode::invalidValue,
             "Class " + className + " is not registered as an QelColorSpace.");
}

MoxSmartPtr<QelColorSpace> newAddAlpha(QelColorSpace const & space, bool keepRange) {
    if (space.hasAlpha()) {
        qelRaise(QelErrorCode::invalidValue,
                 std::string("Class ") + space.name() + " already has alpha in newAddAlpha().");
    }
    return partnerOf(space, keepRange, "with");
}

MoxSmartPtr<QelColorSpace> newRemoveAlpha(QelColorSpace const & space, bool keepRange) {
    if (!space.hasAlpha()) {
        qelRaise(QelErrorCode::invalidValue, std::string("Class ") + space.name() +
                                                 " does not have alpha in newRemoveAlpha().");
    }
    return partnerOf(space, keepRange, "without");
}
