#pragma once

#include <cstddef>
#include <string>

#include "MoxSmartPtr.h"
#include "QelConnectionPoint.h"
#include "QelTransform.h"

class QelOperation;
class QelOutputConnectionPoint;

// The port at which a transform takes something in: connected to one output at most, of which it
// shares the stream data. A connected input keeps the transform upstream alive, except across an
// alias to its own aggregate. Transforms that are connected in a circle hold each other until
// one of their connections is taken apart.
class QEL_API QelInputConnectionPoint : public virtual QelConnectionPoint {
  public:
    // Disconnects, whatever the state of its transform.
    ~QelInputConnectionPoint() override;
    // Raises misuse (3) "QelInputConnectionPoint assignment operator not supported".
    QelInputConnectionPoint & operator=(QelInputConnectionPoint const &);

    // A new point of the same class, not connected, with the same name or another one. Points come
    // as QelConnectionPoint, since an alias is an input and an output at once.
    virtual MoxSmartPtr<QelConnectionPoint> clone() const = 0;
    virtual MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const = 0;
    // An alias of this class of inputs and the outputs that go with it.
    virtual MoxSmartPtr<QelConnectionPoint> createAlias(std::string const & name) const = 0;

    // Does the same class of data flow through both? Raises nullPointer (4) "Null input argument".
    virtual bool isCompatible(QelOutputConnectionPoint const * output) const;

    // What flows here from now on; null for nothing. Called by connect() and disconnect(). A class
    // that overrides it changes no connections there.
    virtual void setStreamData(QelStreamData * data);

    // Connects this point to `output`, in place of an output that it is connected to. All legality
    // rules of the graph are tested here, and all ahead of any change:
    // - nullPointer (4) for no output, and for one without an owner;
    // - cannotConnect (59) for a point that is locked, has no owner, or whose owner renders;
    // - incompatiblePoints (50) where other data flows;
    // - sameTransform (68) for two points of one transform, but for an output alias of an aggregate
    //   that is connected to an input alias of it;
    // - wrongDirection (62) for a normal connection that is not from an input to an output, and for
    //   the connections of an aggregate to its members that are no alias;
    // - differentAggregates (61) for transforms of different aggregates.
    // The last two are not tested where the owner allows any connection. A connection may close a
    // circle: the transform on it that is asked for its status first has a bad one then, and so
    // have the others that need good inputs; see QelTransform. The owner and all that is downstream
    // go out of date. A transform that only this point held is released.
    void connect(QelOutputConnectionPoint * output);
    // To the output of that name. Raises nullPointer (4) for a null transform, and
    // noSuchPoint (52).
    void connect(QelTransform * transform, std::string const & outputName);
    // To the primary output of an operation. Raises nullPointer (4) for null, and where it has
    // none.
    void connect(QelOperation * operation);

    // Nothing for a point that is not connected. Raises cannotDisconnect (60) where connect()
    // raises cannotConnect (59).
    void disconnect();

    // The output that feeds this point; null if there is none. With `resolveAliases` the real one,
    // through any number of aliases; aggregates on the way are brought up to date. Null too for
    // aliases that lead in a circle. Raises misuse (3) for an alias that is no input.
    MoxSmartPtr<QelOutputConnectionPoint> getConnectedOutput(bool resolveAliases) const;

    // Not locked, owned, and the owner does not render.
    bool canConnect() const;
    // As canConnect(); also true while nothing is connected.
    bool canDisconnect() const;

    // Does metadata arrive through this point: is it connected, and do it and all aliases on the
    // way pass metadata?
    bool isPassingMetadata() const;
    bool passesMetadata() const { return passesMetadata_; }
    void setPassesMetadata(bool flag) { passesMetadata_ = flag; }

    // True while the point is aliased to its aggregate.
    bool locked() const { return locked_; }
    // Null for a connection that holds no reference.
    MoxSmartPtr<QelTransform> upstreamTransform() const { return upstreamTransform_; }

    void print(std::ostream & out, std::string const & prefix) const override;
    bool getStatus() override;
    // Code notConnected (67) for a point that is not connected.
    ZanError getStatusMessage() override;
    void outOfDate(bool flag) override;

  protected:
    QelInputConnectionPoint();

  private:
    friend class QelOutputConnectionPoint;
    friend class QelTransform;
    friend class QelTransformAggregate;
    friend class QelGraphTesting;

    void requireConnectable(QelOutputConnectionPoint const * output) const;
    void requireLegal(QelOutputConnectionPoint const & output) const;
    void requireLegalAmongEquals(QelOutputConnectionPoint const & output) const;
    void requireLegalInputAlias(QelOutputConnectionPoint const & output) const;
    void requireLegalOutputAlias(QelOutputConnectionPoint const & output) const;
    // Does what leaves at `output` come from here, through aliases alone?
    bool feeds(QelOutputConnectionPoint const & output) const;
    // The change alone. Hands back the reference on the transform upstream, to be released last.
    MoxSmartPtr<QelTransform> detach();

    bool locked_ = false;
    bool passesMetadata_ = true;
    QelOutputConnectionPoint * connectedOutput_ = nullptr;
    std::size_t slot_ = 0;  // in connectedOutput_'s list
    MoxSmartPtr<QelTransform> upstreamTransform_;
};
