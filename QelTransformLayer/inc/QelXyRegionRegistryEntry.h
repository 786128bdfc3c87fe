#pragma once

#include <string>

#include "MoxSmartPtr.h"
#include "QelXyRegion.h"

// Makes regions of one class, so that a saved graph can be read. A client has a static object of a
// derived class for each class of regions of its own: it is in the registry from its constructor to
// its destructor. Regions may be made from any thread, entries come and go while nobody makes any.
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

// A new region of the class of that name. Raises invalidValue (13) "Class ", the name and " is not
// registered as an QelXyRegion.".
QEL_API MoxSmartPtr<QelXyRegion> qelNewRegion(std::string const & className);
