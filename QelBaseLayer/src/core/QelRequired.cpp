#include "QelRequired.h"

#include "QelError.h"

void qelRaiseNullArgument(ZanSourceLocation here) {
    qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer", here);
}
