#pragma once

#include <string>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelColorSpace.h"

// A prototype in the process-wide registry of colour spaces, through which spaces are made from
// text and found by label. The library's own are registered from the start, in the order of their
// table. A client defines a static object of this class for each of its spaces; it is registered
// for its lifetime. Safe to use from any thread.
class QEL_API QelColorSpaceRegistryEntry {
  public:
    // `name` is the label. Raises nullPointer (4) for a null prototype.
    QelColorSpaceRegistryEntry(MoxSmartPtr<QelColorSpace> prototype, std::string name);
    QelColorSpaceRegistryEntry(QelColorSpaceRegistryEntry const &) = delete;
    QelColorSpaceRegistryEntry & operator=(QelColorSpaceRegistryEntry const &) = delete;
    ~QelColorSpaceRegistryEntry();

    QelColorSpace const & prototype() const { return *prototype_; }
    std::string const & name() const { return name_; }

  private:
    MoxSmartPtr<QelColorSpace> prototype_;
    std::string name_;
};

// Prototypes: by class name, by label (the first of those that share it), and of the class of
// `space`. Null if there is none.
QEL_API MoxConstSmartPtr<QelColorSpace> qelFindColorSpaceClass(std::string const & className);
QEL_API MoxConstSmartPtr<QelColorSpace> qelFindColorSpaceName(std::string const & name);
QEL_API MoxConstSmartPtr<QelColorSpace> qelFindColorSpace(QelColorSpace const & space);

// All prototypes at the time of the call: the library's own in the order of their table, then those
// of clients' entries in the order of their construction. Other threads may add and remove entries
// meanwhile; the prototypes of removed entries live while they are held.
QEL_API std::vector<MoxConstSmartPtr<QelColorSpace>> qelColorSpaces();

// A new space of the named class. Raises invalidValue (13) "Class ", the name and " is not
// registered as an QelColorSpace.".
QEL_API MoxSmartPtr<QelColorSpace> qelNewColorSpace(std::string const & className);

// The partner of `space` with an alpha band, or without, with its own range or that of `space`.
// Raise invalidValue (13) for a space that already has an alpha band, or has none to remove, and
// for one without a partner.
QEL_API MoxSmartPtr<QelColorSpace> newAddAlpha(QelColorSpace const & space, bool keepRange = false);
QEL_API MoxSmartPtr<QelColorSpace> newRemoveAlpha(QelColorSpace const & space,
                                                  bool keepRange = false);
