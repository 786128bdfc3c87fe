#pragma once

#include "QelDataOrg.h"
#include "ZanSourceLocation.h"

// What a `with` operation of `org` made, once it is known to be something: a class of a client's
// own may be unable to change in that way. Raises unsupported (9), with the class of `org` and
// `what` it cannot change, before the caller has given anything up.
MoxSmartPtr<QelDataOrg> qelRequireChanged(
    MoxSmartPtr<QelDataOrg> changed, QelDataOrg const & org, char const * what,
    ZanSourceLocation const & here = ZanSourceLocation::current());
