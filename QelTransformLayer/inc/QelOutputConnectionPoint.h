#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelConnectionPoint.h"
#include "QelTransform.h"

class QelInputConnectionPoint;

// The port at which a transform hands something out, to any number of inputs. Owns the stream data
// that flows there. Consumers are not counted; taking one off costs constant time, wherever it
// stands in their order.
class QEL_API QelOutputConnectionPoint : public virtual QelConnectionPoint {
  public:
    // Disconnects all consumers, from the last to the first, whatever the state of their
    // transforms.
    ~QelOutputConnectionPoint() override;
    // Raises misuse (3) "QelOutputConnectionPoint assignment operator not supported".
    QelOutputConnectionPoint & operator=(QelOutputConnectionPoint const &);

    // A new point of the same class, without consumers, with the same name or another one.
    virtual MoxSmartPtr<QelConnectionPoint> clone() const = 0;
    virtual MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const = 0;
    // An alias of this class of outputs and the inputs that go with it.
    virtual MoxSmartPtr<QelConnectionPoint> createAlias(std::string const & name) const = 0;

    // The status of the stream data. Raise nullPointer (4) without stream data.
    virtual void setStatusOK();
    virtual void setStatusBad(ZanError const & error);
    // Makes the stream data stale; nothing without stream data.
    virtual void invalidateStreamData(bool flag);
    // Tells all consumers, in their order, and with `propagate` then the stream data.
    virtual void notifyOutOfDate(bool flag, bool propagate);
    // Raises the error of getStatusMessage() unless the status is good.
    virtual void checkStatus();

    // `input`.connect(this). Raises nullPointer (4) for null.
    void addConnection(QelInputConnectionPoint * input);
    // The same for the input of that name. Raises nullPointer (4) for a null transform,
    // noSuchPoint (52).
    void addConnection(QelTransform * transform, std::string const & inputName);
    // `input`.disconnect(). Raises nullPointer (4) for null, notConnectedHere (63) for an input
    // that is not directly connected to this point.
    void removeConnection(QelInputConnectionPoint * input);
    void removeConnection(QelTransform * transform, std::string const & inputName);

    // The consumers, in the order in which they were connected.
    std::vector<QelInputConnectionPoint *> connectedInputs() const;
    std::size_t numConnectedInputs() const { return numConnected_; }

    void print(std::ostream & out, std::string const & prefix) const override;
    // Raises misuse (3) without stream data.
    bool getStatus() override;
    void outOfDate(bool flag) override;

    // The two ends of QelInputConnectionPoint::connect(), which alone calls them. Raise nullPointer
    // (4) for null; the second notConnectedHere (63) for an input that is not in the list.
    void connectInternal(QelInputConnectionPoint * input);
    void disconnectInternal(QelInputConnectionPoint * input);

  protected:
    QelOutputConnectionPoint();

    // For destructors of classes that own stream data, ahead of its end.
    void disconnectAll() noexcept;

    // For an alias: gives `data` to all consumers, and to those behind aliases among them.
    void passOn(QelStreamData * data);
    // Are the consumers being told of a change?
    bool isNotifying() const { return walks_ > 0; }
    // A line for each consumer.
    void printConsumers(std::ostream & out, std::string const & prefix) const;

  private:
    friend class QelInputConnectionPoint;
    friend class QelDownstreamIterator;

    class Walk;

    void makeRoom();
    // Closes the holes when half of the list is, so that this costs constant time for each that
    // left.
    void compact() noexcept;

    // With null where an input has left; each input knows its place.
    std::vector<QelInputConnectionPoint *> connectedInputs_;
    std::size_t numConnected_ = 0;
    int walks_ = 0;
    // passOn() of a point upstream is about to go on to the consumers.
    bool isPassedBy_ = false;
};
