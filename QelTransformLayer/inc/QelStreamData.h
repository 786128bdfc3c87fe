#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

#include "MoxSmartPtr.h"
#include "QelDataDesc.h"
#include "QelRenderedItem.h"
#include "QelRenderedItemContainer.h"
#include "ZanError.h"

class QelOutputConnectionPoint;
class QelTransform;

// What flows along a connection: the description of what an output will deliver, its status, and
// the container of the items that hold it. This base has the status; QelImageStreamData describes
// images.
//
// | state | outOfDate() | statusOk() | meaning |
// | stale | true | false | not computed since a change |
// | good | false | true | the description holds, the container is fresh |
// | bad | false | false | a settled failure; getStatus() tells why |
//
// Owned by its output. Changed by one thread, which edits the graph; any thread may ask while the
// graph is up to date.
class QEL_API QelStreamData {
  public:
    // Stale. Raises nullPointer (4) "NULL ptr passed to QelStreamData constructor".
    explicit QelStreamData(QelOutputConnectionPoint * owner);
    QelStreamData(QelStreamData const &) = delete;
    QelStreamData & operator=(QelStreamData const &) = delete;
    virtual ~QelStreamData();

    // The items of this output.
    virtual MoxSmartPtr<QelRenderedItemContainer> getRenderedItemContainer() = 0;

    // Brings a stale description up to date first. Code noReason (1) "Stream Data Status OK" when
    // it is good, else the error that setStatusError() was given, or the message of the transform.
    virtual ZanError getStatus();

    // For people: a line for each field.
    virtual void print(std::ostream & out, std::string const & indent) const;

    // Enters an item of this output into a render: finds out what it depends on, and enters that.
    // Nothing for an item that is entered already or complete. Raises misuse (3) for a bad status
    // and for an item of another output. Where this or the next one raises, nothing is entered.
    virtual void generateDependencies(QelRenderedItem * item);
    // Adds the items that `request` touches, or all that there are, to `container`, and enters
    // each. Nothing for a bad status. Raises nullPointer (4) for a null container. Where it raises,
    // nothing is entered, but items stay in `container`.
    virtual void generateDependencies(QelRenderedItemContainer * container, QelDataDesc * request);
    // The same; holds its arguments meanwhile.
    virtual void generateDependenciesHeld(MoxSmartPtr<QelRenderedItemContainer> container,
                                          MoxSmartPtr<QelDataDesc> request);
    // The same for all that the output can deliver.
    void generateDependencies(QelRenderedItemContainer * container);

    // Settles the status; the old error goes.
    virtual void setStatus(bool ok);
    // Settles the status as bad. Keeps a copy of `error`.
    virtual void setStatusError(ZanError const & error);
    // True makes the description stale. Either way the items go at once.
    virtual void setOutOfDate(bool flag);
    // Asks the transform for its status, which sets it up, and so this.
    virtual void update();
    // Replaces the container by an empty one.
    virtual void resetContainer() = 0;

    // One holder more, or one less, who wants computed items kept. They are while any holder does.
    void setCachingClient(bool on);

    QelOutputConnectionPoint * owner() const { return owner_; }
    bool statusOk() const { return statusOk_; }
    bool outOfDate() const { return outOfDate_; }
    bool caching() const { return caching_; }
    std::int32_t cachingCount() const { return cachingCount_; }
    // Null unless setStatusError() was called last.
    ZanError const * statusError() const { return statusError_.get(); }

  protected:
    // update() if outOfDate(); then statusOk().
    bool updatedStatus();
    // The owner's transform; null for an output that belongs to none.
    QelTransform * transform() const;
    // "OUTPUT:LABEL(CLASS)"
    std::string describeOwner() const;

    // generateDependencies() for all that the output can deliver, of a good status: for all items
    // that there are, here.
    virtual void generateAll(QelRenderedItemContainer & container);
    // Ahead of all else in generateDependencies(item): raises misuse (3) for an item whose
    // container belongs to another output, or to none.
    void requireOwnItem(QelRenderedItem const & item) const;

  private:
    QelOutputConnectionPoint * owner_;
    bool statusOk_ = false;
    bool outOfDate_ = true;
    bool caching_ = false;
    std::int32_t cachingCount_ = 0;
    std::unique_ptr<ZanError> statusError_;
};
