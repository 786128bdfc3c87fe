#pragma once

#include <cstdint>

#include "QelExport.h"
#include "VZanRefCount.h"

class QelRenderedItem;

// What a rendered item knows of its owner: what to notify when it is destroyed or changes state.
class QEL_API QelEmbeddedRenderedItemContainer : public VZanRefCount {
  public:
    ~QelEmbeddedRenderedItemContainer() override;
    using VZanRefCount::operator=;

    // `item` is being destroyed; called once, from its destructor. An exception is caught there
    // and written to the library's output.
    virtual void discardReference(QelRenderedItem * item) = 0;

    // The state bits `mask` of `item` have been set or cleared. Called with the item's lock held:
    // must not wait for another thread that uses the item. Does nothing here.
    virtual void notifyStateChange(QelRenderedItem * item, std::uint32_t mask, bool set);
};
