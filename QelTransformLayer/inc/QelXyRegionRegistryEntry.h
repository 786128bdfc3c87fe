#pragma once

#include <string>

#include "MoxSmartPtr.h"
#include "QelXyRegion.h"

// Makes regions of one class, so that a saved graph can be read. A client defines a static object
// of a derived class for each of its region classes; it is registered from its constructor to its
// destructor. Any thread may make regions, but not while entries are added or removed.
class QEL_API QelXyRegionRegistryEntry {
  public:
    // `name` is the class name.
    explicit QelXyRegionRegistryEntry(std::string name);
    QelXyRegionRegistryEntry(QelXyRegionRegistryEntry const &) = delete;
    QelXyRegionRegistryEntry & operator=(QelXyRegionRegistryEntry const &) = delete;
    virtual ~QelXyRegionRegistryEntry();

    // A region without a space, to be read.
    virtual MoxSmartPtr<QelXyRegion> newRegion() const = 0;
    std::string const & name() const { return name_; }
    // A region of all of `space`.
    virtual MoxSmartPtr<QelXyRegion> newRegion(QelXyCoordSpace const * space) const = 0;

  private:
    std::string name_;
};

// A new region of the named class. Raises invalidValue (13) "Class ", the name and " is not
// registered as an QelXyRegion.".
QEL_API MoxSmartPtr<QelXyRegion> qelNewRegion(std::string const & className);
