#pragma once

#include "MoxSmartPtr.h"

// Releases of counted objects from within destructors. A chain of objects, each of which holds
// the last reference on the next, would be deleted by as many nested destructors and overflow the
// stack when it is long. Instead the outermost release of a thread deletes, one after the other,
// what the inner ones only put aside.
//
// An object released here from within a destructor that runs for such a release is therefore
// deleted after that destructor has ended. When there is no memory to put it aside it is deleted
// at once.

// Calls destroy(object) as above, on the calling thread.
void qelDestroyLater(void * object, void (*destroy)(void *) noexcept) noexcept;

// Gives up the reference that `pointer` holds, which is null afterwards; the last one deletes the
// object as above. The object's destructor must let no exception out.
template <class T>
void qelReleaseLater(MoxSmartPtr<T> && pointer) noexcept {
    T * const object = pointer.detach();
    if (object == nullptr || !object->deleteRef()) return;
    qelDestroyLater(object, [](void * ended) noexcept { delete static_cast<T *>(ended); });
}
