#include "QelPixelRun.h"

#include <string>

#include "QelDataOrg.h"
#include "QelError.h"

void qelRequireElementType(QelDataOrg const & org, QelDataType type) {
    if (org.precision() == type) return;
    qelRaise(QelErrorCode::wrongPixelFormat, std::string("An iterator over ") + type.name() +
                                                 " cannot visit pixels of " +
                                                 org.precision().name());
}
