#pragma once

#include <string>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelColorSpace.h"

// A prototype in the process-wide registry of colour spaces, so that spaces can be made from a text
// and found by their label. The library's own are there from the start, in the order of their
// table; a client has a static object of this class for each space of its own, which is in the
// registry while it lives. May be used from any thread.
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
// `space`. Null when there is none.
QEL_API MoxConstSmartPtr<QelColorSpace> qelFindColorSpaceClass(std::string const & className);
QEL_API MoxConstSmartPtr<QelColorSpace> qelFindColorSpaceName(std::string const & name);
QEL_API MoxConstSmartPtr<QelColorSpace> qelFindColorSpace(QelColorSpace const & space);

// All prototypes: the library's own in the order of their table, then those of the clients'
// entries, in the order in which these came to be. As they are at the time of the call; entries may
// come and go on other threads meanwhile, and the prototypes of those that are gone stay while they
// are held.
QEL_API std::vector<MoxConstSmartPtr<QelColorSpace>> qelColorSpaces();

// A new space of the class of that name. Raises invalidValue (13) "Class ", the name and " is not
// registered as an QelColorSpace.".
QEL_API MoxSmartPtr<QelColorSpace> qelNewColorSpace(std::string const & className);

// The partner of `space` with an alpha band, or without, with its own range or that of `space`.
// Raise invalidValue (13) for a space that has an alpha band already, or has none, and for one
// without a partner.
QEL_API MoxSmartPtr<QelColorSpace> newAddAlpha(QelColorSpace const & space, bool keepRange = false);
QEL_API MoxSmartPtr<QelColorSpace> newRemoveAlpha(QelColorSpace const & space,
                                                  bool keepRange = false);
