#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include "MoxSmartPtr.h"
#include "Qel2DImage.h"
#include "QelAttributeBased.h"
#include "QelDataDesc.h"
#include "QelImageOp.h"
#include "QelSimpleAttribute.h"
#include "QelSmartRenderedItemVector.h"
#include "QelTile.h"
#include "QelXyCoordSpace.h"
#include "QelXyRegion.h"
#include "ZanError.h"

class QelConnectionPoint;
class QelImageOutputCP;
class QelImageRequestDesc;
class QelInputConnectionPoint;
class QelOutputConnectionPoint;
class QelTransformAggregate;

// A node of the graph: named inputs and outputs, typed attributes, a label, and a status that is
// brought up to date when somebody asks for it. It describes what its outputs will deliver, apart
// from computing it, so that a graph is edited, checked and copied without touching a pixel.
//
// A class of transforms adds its connection points and attributes in its constructor, describes its
// outputs in setupTransform(), and gives the op that makes their pixels in determineOp(). Most
// derive from QelOperation or QelPointOperation, which do most of it; docs/writing-a-transform.md
// shows how.
//
// | state | setupDone() | statusOk() | left by |
// | out of date | false | false | update() |
// | valid | true | true | markOutOfDate() |
// | bad | true | false | markOutOfDate() |
//
// A change marks the transform and all that is downstream out of date, at once; nothing is set up
// before somebody asks. What goes wrong then becomes the bad status, and is not raised. On a
// circle of connections the transform that was asked first is bad for certain: asked again while it
// is being set up, it answers that it is bad, and stays so. The others on the circle are bad too,
// unless they need no good inputs.
//
// Held by MoxSmartPtr. A graph is edited by one thread, and by none while it renders; any number of
// threads may read pixels and statuses of a graph that is up to date.
// Editing, statuses, walks, copies and destruction need no stack as deep as the graph is long.
// Pixels do: images ask the images of their inputs, which nests once for each transform on the way.
class QEL_API QelTransform : public QelAttributeBased {
  public:
    static constexpr std::size_t maxLabelLength = 255;

    QelTransform & operator=(QelTransform const &) = delete;
    // Points that live on have no owner from then on.
    ~QelTransform() override;

    // A copy: same class, attributes, label and points, no connections, out of date.
    virtual MoxSmartPtr<QelTransform> clone() const = 0;

    // ---- Label and class

    // The transform's own address in eight hexadecimal digits, unless set. Need not be unique.
    std::string const & getLabel() const { return label_; }
    // Raises invalidValue (13) for more than 255 characters, and for one that is a double quote.
    void setLabel(std::string const & label);
    // The name of the most derived class.
    virtual std::string getClassName() const;
    // "LABEL(CLASS)", as messages show a transform.
    std::string describe() const;

    // ---- Connection points

    int numInputs() const { return static_cast<int>(inputs_.size()); }
    int numOutputs() const { return static_cast<int>(outputs_.size()); }
    // How many there can be; how many there are, here.
    virtual int getMaxInputs() const;
    virtual int getMaxOutputs() const;

    // Both adding and removing mark the transform out of date.

    // Appends a point and returns it. Raises nullPointer (4) for null, transformRenders (110),
    // pointHasOwner (111), pointNameTaken (52) for a name that a point of that direction has.
    QelInputConnectionPoint * addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint> point);
    QelOutputConnectionPoint * addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint> point);

    // Takes a point off; those behind it move down. The caller disconnects it first; what is left
    // is disconnected when the point ends. Where somebody else still holds it, a line on the
    // library's output warns of that. Raise outOfRange (7) for a pointer or a name that is not
    // there, std::out_of_range for an index.
    void removeInputConnectionPoint(QelInputConnectionPoint const * point);
    void removeInputConnectionPoint(int index);
    void removeInputConnectionPoint(std::string const & name);
    void removeOutputConnectionPoint(QelOutputConnectionPoint const * point);
    void removeOutputConnectionPoint(int index);
    void removeOutputConnectionPoint(std::string const & name);
    // The last input, `n` times, or as often as there is one.
    void removeLastInputs(int n);
    // With `pack`, moves connections down to the first inputs, and with `removeUnconnected` then
    // removes every second one of those that are left over, from the first on, and raises
    // noSuchPointIndex (51) where more than one is. Without `pack`, `removeUnconnected` removes all
    // inputs that are not connected.
    void compactInputs(bool pack, bool removeUnconnected);

    // Raise noSuchPointIndex (51).
    MoxSmartPtr<QelInputConnectionPoint> getInputCP(int index) const;
    MoxSmartPtr<QelOutputConnectionPoint> getOutputCP(int index) const;
    bool hasInput(std::string_view name) const;
    bool hasOutput(std::string_view name) const;
    // Raise noSuchPoint (52) for a name; notOwnInput (53) and notOwnOutput (108) for a
    // pointer.
    int findInputIndex(std::string_view name) const;
    int findInputIndex(QelInputConnectionPoint const * point) const;
    int findOutputIndex(std::string_view name) const;
    int findOutputIndex(QelOutputConnectionPoint const * point) const;

    // Connects an input of this transform to an output of `source`:
    // QelInputConnectionPoint::connect(). Raise noSuchPointIndex (51), noSuchPoint (52),
    // nullPointer (4) for a null source.
    void connect(int inputIndex, QelTransform * source, int outputIndex);
    void connect(std::string const & inputName, QelTransform * source, int outputIndex);
    void connect(std::string const & inputName, QelTransform * source,
                 std::string const & outputName);
    // Raises noSuchInput (102).
    void disconnect(int inputIndex);

    // QelConnectionPoint::setCaching() of all outputs.
    void setCaching(bool flag);
    // Whether metadata passes through an input. An index of -1 sets it for all inputs, and asks
    // whether it passes through any.
    void setInputMetadataFlag(bool value, int index);
    bool getInputMetadataFlag(int index) const;

    // While this is set on the owner of an input, its connect() does not test whether the
    // transforms belong together.
    void setAllowAnyConnection(bool allow) { allowAnyConnection_ = allow; }
    bool getAllowAnyConnection() const { return allowAnyConnection_; }

    // ---- Attributes

    // As QelAttributeBased::addAttribute(); a change of the attribute then marks this transform out
    // of date. `propagate` makes no difference. False for null and for a name that is taken.
    bool addAttribute(MoxSmartPtr<QelAttribute> attribute, bool propagate);
    bool addAttribute(MoxSmartPtr<QelAttribute> attribute, bool propagate, std::string name);
    // A text would be taken for `propagate`.
    bool addAttribute(MoxSmartPtr<QelAttribute> attribute, char const * name) = delete;

    // The value of the attribute of that name. Raises misuse (3) where there is none, or one of
    // another type; see badAttribute().
    template <class T>
    T const & attributeValue(std::string_view name) const {
        return attributeOf<T>(name).getValue();
    }
    // Raises what QelSimpleAttribute::setValue() raises, too.
    template <class T>
    void setAttributeValue(std::string_view name, T const & value) {
        attributeOf<T>(name).setValue(value);
    }

    // Raises misuse (3): "Transform class ", class, " does not have an attribute named ", `name`,
    // and where there is one of another type, " of type ", `wanted`, "\n     The attribute has type
    // ", its.
    [[noreturn]] void badAttribute(std::string_view name,
                                   std::type_info const * wanted = nullptr) const;

    // ---- Status

    bool isStatusOk();
    // Why the status is bad. Code noStatusMessage (100) when it is not.
    ZanError getStatusMessage();
    // Sets an out-of-date transform up. Raises nothing: what setupTransform() raises becomes a bad
    // status with code setupFailed (125).
    void update();
    // Marks this transform and all that is downstream out of date; nothing where it is already.
    void markOutOfDate(bool flag);
    // For setupTransform(): settle the status of this transform and of all its outputs.
    void setStatusOK();
    void setStatusBad(ZanError const & error);

    bool setupDone() const { return setupDone_; }
    bool statusOk() const { return statusOk_; }

    // Validates the transform and describes its outputs: ends with setStatusOK() or setStatusBad(),
    // or raises. Asks the inputs for their status, which sets up what is upstream.
    virtual void setupTransform() = 0;
    // An input has changed: marks this transform out of date.
    virtual void inputChanged(QelInputConnectionPoint * input, bool flag);
    // Clears the status with `flag`, and tells all outputs.
    virtual void propagateOutOfDate(bool flag);
    // Makes this transform alone out of date; nobody is told.
    virtual void clearStatus();

    // The aggregate that this transform is a member of; null for none.
    QelTransform * aggregate() const { return aggregate_; }

    // ---- What outputs deliver

    // The coordinate space of an image output. Raises notAnImage (105) for another one.
    virtual MoxSmartPtr<QelXyCoordSpace> getCoordSpace(int outputIndex);

    // Does this output depend on this input? True here.
    virtual bool isInputNeeded(int inputIndex, int outputIndex) const;

    // The op that makes the pixels of an output at the resolution in pixels of `tileId`; null here,
    // for a transform that makes pixels itself in genTile() or genRect(). Ops read from the images
    // of the inputs: getInputCP(i)->get2DImage(...). Called from several threads at once; an op
    // that is handed out more than once has made its report before (QelImageOp::outputInfo()).
    virtual MoxSmartPtr<QelImageOp> determineOp(QelTileId const & tileId, int outputIndex) const;

    // The part of an input that a part of an output needs, and the other way round: all of it,
    // here, at the same resolution in pixels. Null where the other side has no coordinate space.
    // Raise noSuchResolution (409) where its space lacks that resolution: a transform that changes
    // the size overrides both.
    virtual MoxSmartPtr<QelXyRegion> getInputRegion(QelXyRegion const & outputRegion,
                                                    int inputIndex, int outputIndex);
    virtual MoxSmartPtr<QelXyRegion> getOutputRegion(QelXyRegion const & inputRegion,
                                                     int inputIndex, int outputIndex);

    // The resolution of an input that goes with one of an output, by pixels or by dots per unit:
    // the same, completed where the input has only one of its halves. An input index of -1 is 0.
    // Where any resolution will do, it is added to the space of the input, which others share: not
    // beside threads that read. Raise badRequest (122) for an output and outOfRange (7) for an
    // input that is no image, nullPointer (4) for one that is not connected, and
    // noMatchingResolution (127).
    virtual QelXyCoordSpace::Resolution getMatchingPixelInput(
        QelXyCoordSpace::Resolution const & wanted, int outputIndex, int inputIndex = -1);
    virtual QelXyCoordSpace::Resolution getMatchingResolutionInput(
        QelXyCoordSpace::Resolution const & wanted, int outputIndex, int inputIndex = -1);

    // ---- Pixels, for the images of outputs; clients ask the outputs. All take several threads.

    // Makes sure that `tile` has its pixels, and returns it. Null for a bad status.
    virtual MoxSmartPtr<QelTile> getTile(MoxSmartPtr<QelTile> tile,
                                         MoxSmartPtr<QelImageRequestDesc> request);
    // Fills a tile, or a rectangle: by the op of determineOp(), else out of the output's own tiles.
    // A transform without ops overrides one of them. genRect() raises misuse (3) for a bad status.
    virtual void genTile(MoxSmartPtr<QelTile> tile, MoxSmartPtr<QelImageRequestDesc> request);
    virtual void genRect(MoxSmartPtr<QelRectBuffer> buffer,
                         MoxSmartPtr<QelImageRequestDesc> request);
    // Fills the part of `buffer` that the request touches, through the grid of tiles: with
    // `useTiles` out of the tiles that pay for themselves, all else straight. False, after a line
    // on the library's output, for a bad status.
    virtual bool fillRect(MoxSmartPtr<QelRectBuffer> buffer,
                          MoxSmartPtr<QelImageRequestDesc> request, bool useTiles);
    // May pixels of this output be written straight into such a buffer?
    virtual bool canGenRect(QelRectBuffer * buffer, int outputIndex);
    virtual bool canGenRectForData(QelDataOrg const * dataOrg, int outputIndex);
    // Data that is no image. Raises misuse (3) "Should not be calling QelTransform::computeData".
    virtual void computeData();

    // What `item`, of one of this transform's outputs, depends on: added to `dependencies`, and
    // entered into the render.
    virtual void generateDependencies(QelRenderedItem * item,
                                      QelSmartRenderedItemVector * dependencies);
    virtual void generateDependenciesHeld(MoxSmartPtr<QelRenderedItem> item,
                                          MoxSmartPtr<QelSmartRenderedItemVector> dependencies);

    // ---- Rendering

    // True between the start and the end of a render, when connections and points stay as they are.
    virtual bool isRendering() const;

    // Makes a private copy of all that is upstream, for a render that goes on while this graph is
    // edited: connects `inputOfClone` to the output `outputName` of this transform's clone. Each
    // transform is cloned once, until clearClonePtr(), whoever asks. Caching is off in clones. The
    // clones are held by whoever asked for them, through `inputOfClone`, and known here by plain
    // pointers: clearClonePtr() comes before this graph is edited and before the clones go. A call
    // that fails forgets all clones.
    virtual void cloneForRender(std::string const & outputName,
                                QelInputConnectionPoint * inputOfClone, QelTransform * requester);
    // Forgets the clones of this transform and of all that is upstream.
    virtual void clearClonePtr(QelTransform * requester);
    // Null but while clones are known.
    QelTransform * clonePtr() const { return clonePtr_; }

    // ---- For people

    // What setupTransform() computed; nothing here.
    virtual void printCalculatedParameters(std::ostream & out, std::string const & prefix) const;
    // A listing of this transform as it stands, each line behind `prefix`: class, status and its
    // error, attributes, computed parameters, points with what they are connected to, and the tiles
    // that there are. What raises meanwhile becomes a line of the listing.
    virtual void printTransform(std::ostream & out, std::string const & prefix) const;
    // printTransform() of this transform and of all that is upstream, sources first, each behind a
    // line with its connections; then "GRAPH IS CYCLIC", if it is. `flag` has no meaning.
    virtual void printGraph(std::ostream & out, int flag) const;
    // With `includeDownstream`, also what can be reached forward from any of these.
    void printGraph(std::ostream & out, int flag, bool includeDownstream) const;
    // The former into a file, which is overwritten. False if that fails.
    bool printGraph(std::string const & fileName, int flag) const;

  protected:
    QelTransform();
    // Attributes, label, points (by their clone()) and their caching. The copy constructor of a
    // derived class calls it.
    QelTransform(QelTransform const & other);

    // For setupTransform() of a class that has described its outputs itself: makes the status good
    // and leaves the outputs as they are.
    void settleGood();

    // For copy constructors of classes that derive virtually. Raises notCopyConstructed (117).
    void checkCopyConstructed() const;

  private:
    friend class QelConnectionPoint;
    friend class QelGraphTesting;
    friend class QelTransformAggregate;

    class Marking;
    class SetUp;
    class Cloning;
    struct CloneTask;
    struct ClearCloneTask;
    // A place in a ring; alone in it at first.
    struct MarkLink {
        explicit MarkLink(QelTransform * of) : transform(of) {}
        MarkLink(MarkLink const &) = delete;
        MarkLink & operator=(MarkLink const &) = delete;

        QelTransform * transform;
        MarkLink * before = this;
        MarkLink * behind = this;

        bool isLinked() const { return behind != this; }
        void unlink();
        // Leaves its ring for the place ahead of `other`.
        void moveAheadOf(MarkLink & other);
        // All others of the ring of `other` come right behind this one.
        void takeAll(MarkLink & other);
    };

    template <class T>
    QelSimpleAttribute<T> & attributeOf(std::string_view name) const {
        MoxSmartPtr<QelAttribute> const attribute = getAttribute(name);
        auto * const typed = dynamic_cast<QelSimpleAttribute<T> *>(attribute.get());
        if (typed == nullptr) badAttribute(name, &typeid(T));
        return *typed;
    }

    void attributeChangedPropagate(MoxSmartPtr<QelAttribute> const & attribute);
    void attributeChangedLocal(MoxSmartPtr<QelAttribute> const & attribute);
    void settleBad(ZanError const & error) noexcept;
    void copyPoints(QelTransform const & other);
    static void keepCaching(QelOutputConnectionPoint & output, bool flag);
    void forgetAllClones() noexcept;
    void forget(QelConnectionPoint const * point) noexcept;
    void disownPoints() noexcept;
    void listTransform(std::ostream & out, std::string const & prefix) const;
    void listAttributes(std::ostream & out, std::string const & prefix) const;
    void listPoints(std::ostream & out, std::string const & prefix) const;
    void listConnections(std::ostream & out) const;
    // The part of fillRect() that lies in one tile.
    void fillFromTile(QelRectBuffer & buffer, QelImageRequestDesc const & request,
                      QelRect const & rect, Qel2DImage::TileIterator const & at, bool useTiles);

    std::vector<MoxSmartPtr<QelInputConnectionPoint>> inputs_;
    std::vector<MoxSmartPtr<QelOutputConnectionPoint>> outputs_;
    // Points that were removed while somebody else held them.
    std::vector<QelConnectionPoint *> removedPoints_;
    QelTransform * clonePtr_ = nullptr;
    QelTransform * aggregate_ = nullptr;
    std::unique_ptr<ZanError> statusError_;
    MarkLink mark_{this};
    bool rendering_ = false;
    bool statusOk_ = false;
    bool copyConstructed_ = false;
    bool setupDone_ = false;
    bool settingUp_ = false;
    bool onCircle_ = false;
    bool allowAnyConnection_ = false;
    std::string label_;
};
