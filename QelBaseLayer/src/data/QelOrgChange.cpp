#include "QelOrgChange.h"

#include <string>

#include "QelCoreMisc.h"
#include "QelError.h"

MoxSmartPtr<QelDataOrg> qelRequireChanged(MoxSmartPtr<QelDataOrg> changed, QelDataOrg const & org,
                                          char const * what, ZanSourceLocation const & here) {
    if (changed) return changed;
    qelRaise(QelErrorCode::unsupported,
             std::string("The data organization ") + QelCoreMisc::classNameOf(org) +
                 " cannot take another " + what,
             here);
}
