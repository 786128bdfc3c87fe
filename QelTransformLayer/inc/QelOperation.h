#pragma once

#include <optional>
#include <string>

#include "QelImageInputCP.h"
#include "QelImageOutputCP.h"
#include "QelTransform.h"

// The usual base of an image transform: it has a primary input and a primary output, and by default
// every image output is described as the primary input is. The op that makes the pixels comes from
// determineOp(); a class without one overrides genTile() or genRect().
class QEL_API QelOperation : public virtual QelTransform {
  public:
    ~QelOperation() override;

    // Null where there is none, and once it was removed through QelTransform. The image forms are
    // null too for a point of another class that is compatible with images.
    QelInputConnectionPoint * getPrimaryInput() const;
    QelOutputConnectionPoint * getPrimaryOutput() const;
    QelImageInputCP * getPrimaryImageInput() const;
    QelImageOutputCP * getPrimaryImageOutput() const;

    // Connect the primary input, or the primary output. Raise nullPointer (4) where that is
    // missing, and what QelInputConnectionPoint::connect() raises.
    void connect(QelOutputConnectionPoint * output);
    void connectTo(QelInputConnectionPoint * input);
    void connect(MoxSmartPtr<QelOperation> operation);
    using QelTransform::connect;

    // Refuse the primary points with primaryPoint (69). Those of QelTransform do not.
    void removeInputConnectionPoint(QelInputConnectionPoint const * point);
    void removeInputConnectionPoint(int index);
    void removeInputConnectionPoint(std::string const & name);
    void removeOutputConnectionPoint(QelOutputConnectionPoint const * point);
    void removeOutputConnectionPoint(int index);
    void removeOutputConnectionPoint(std::string const & name);

    // The region of the output that goes with `region`, a region of the primary input: a copy of it
    // in the input's coordinate space with the resolution in pixels of `tileId` selected. Null
    // without an image input that knows its space.
    MoxSmartPtr<QelXyRegion> outputInfo(QelXyRegion const & region, QelTileId const & tileId) const;

    // Asks all inputs for their status, from the last to the first, and gives each image output the
    // description of the primary input's source. A bad status with noPrimaryInput (70) without a
    // primary input, and with the source's own code and text, " has invalid inputs" added, where
    // that is bad.
    void setupTransform() override;

  protected:
    // With a QelImageInputCP and a QelImageOutputCP of these names as primary points; none for a
    // name that is not given.
    QelOperation(std::optional<std::string> const & inputName,
                 std::optional<std::string> const & outputName);
    // Finds the primary points again by name. Raises notCopyConstructed (117) where the most
    // derived class has not copied its QelTransform.
    QelOperation(QelOperation const & other);

    // Chooses the primary points; null for none. Raises incompatiblePoints (50) for a point that
    // images do not flow through, sameTransform (68) for one that belongs to another transform.
    void setPrimaryIO(QelInputConnectionPoint * input, QelOutputConnectionPoint * output);

    // For setupTransform(): make the status bad, with unsuitableType (603), unless the element type
    // of an input or output is `type`, or one that code can be dispatched by (QelDataType::
    // isTypeswitchType()). An index of -1 means the primary point. Raise misuse (3) for a point
    // that is no image point.
    void checkInputType(QelDataType type, int inputIndex = -1);
    void checkInputTypeSwitch(int inputIndex = -1);
    void checkOutputType(QelDataType type, int outputIndex = -1);
    void checkOutputTypeSwitch(int outputIndex = -1);

  private:
    void requireNotPrimary(QelConnectionPoint const * point) const;
    void describeOutputs(QelInputConnectionPoint const & input);
    QelDataType inputType(int index) const;
    QelDataType outputType(int index) const;
    // A null `type` asks for one that code can be dispatched by.
    void requireType(char const * direction, QelDataType found, QelDataType const * type);

    // Not to be used before it is clear that they are still there.
    QelInputConnectionPoint * primaryInput_ = nullptr;
    QelOutputConnectionPoint * primaryOutput_ = nullptr;
};
