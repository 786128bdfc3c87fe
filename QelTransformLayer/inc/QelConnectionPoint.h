#pragma once

#include <iosfwd>
#include <string>
#include <typeinfo>

#include "QelItemOwner.h"
#include "ZanError.h"
#include "ZanRefCount.h"

class QelStreamData;
class QelTransform;

// A named port of a transform. Stream data flows through it: made by an output, shared by the input
// that is connected to it. QelInputConnectionPoint and QelOutputConnectionPoint derive virtually,
// so that an alias, which is both, has one name, one owner and one stream data.
//
// Held by MoxSmartPtr, by its transform and by whoever else wants it; the pointer back to the
// transform is not counted, and is null once the transform is gone. Points are edited by one
// thread, while their transforms do not render; any thread may ask while the graph is up to date.
//
// In messages a point or a transform that is not there reads "NULL".
class QEL_API QelConnectionPoint : public ZanRefCount, public QelItemOwner {
  public:
    QelConnectionPoint(QelConnectionPoint const &) = delete;
    QelConnectionPoint & operator=(QelConnectionPoint const &) = delete;
    ~QelConnectionPoint() override;

    // The class of stream data that flows here; points of different ones cannot be connected.
    virtual std::type_info const & getDataType() const = 0;

    // For people: a line with name, direction, owner and class, and one for each connection.
    virtual void print(std::ostream & out, std::string const & prefix) const;

    // Is what arrives here valid? Brings the transforms upstream up to date first.
    virtual bool getStatus() = 0;
    // Why not: the stream data's error, or, without stream data, nullPointer (4) "Connection point
    // ", name, " does not currently point to an QelStreamData object". Returned, not raised.
    virtual ZanError getStatusMessage();

    // What arrives or leaves here has changed: an input tells its owner, an output all its
    // consumers.
    virtual void outOfDate(bool flag) = 0;

    // Null where nothing flows.
    QelStreamData * streamData() const { return streamData_; }
    // Does this point ask for what is computed to be kept?
    bool caching() const { return caching_; }
    // Keeps what this point wants kept, or no longer. Sets the owner up where there is no stream
    // data yet, and raises what that raises (not so for an alias).
    void setCaching(bool flag);

    QelTransform * owner() const { return owner_; }
    std::string const & name() const { return name_; }
    // The direction under which the point was added to its transform; false before.
    bool isInput() const { return isInput_; }

    // "LABEL", or "NULL" without an owner; the name. For messages of the pixel store.
    std::string transformLabel() const override;
    std::string connectionPointName() const override;
    // "LABEL(CLASS)" of the owner, or "NULL".
    std::string describeOwner() const;

    // The name of the point's own class.
    std::string getClassName() const;

  protected:
    // Without owner and stream data.
    explicit QelConnectionPoint(std::string name);

    void setStreamDataPointer(QelStreamData * data) { streamData_ = data; }
    void setCachingFlag(bool flag) { caching_ = flag; }

    // Raises nullPointer (4): "Connection point ", name, " of type ", class and kind, " cannot
    // complete function ", `operation`, "( ), because the cp's stream data object pointer is NULL".
    [[noreturn]] void raiseNoStreamData(char const * operation) const;

  private:
    friend class QelTransform;

    QelStreamData * streamData_ = nullptr;
    bool caching_ = false;
    bool isInput_ = false;
    QelTransform * owner_ = nullptr;
    std::string name_;
};
