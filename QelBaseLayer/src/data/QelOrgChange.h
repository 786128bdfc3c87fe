#pragma once

#include "QelDataOrg.h"
#include "ZanSourceLocation.h"

// The result of a `with` operation of `org`, checked not to be null: a client's class may not
// support that change. Raises unsupported (9), with the class of `org` and `what` it cannot change,
// before the caller has released anything.
MoxSmartPtr<QelDataOrg> qelRequireChanged(
    MoxSmartPtr<QelDataOrg> changed, QelDataOrg const & org, char const * what,
    ZanSourceLocation const & here = ZanSourceLocation::current());
