#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "QelGraphIterator.h"
#include "QelPointOperation.h"
#include "QelSimpleDataOrg.h"
#include "ReadBack.h"

// Edits of a graph. Each is a letter, from "A" on, and a digit for each of its choices; a choice is
// taken by what is left when it is divided by the number of possibilities. After each edit the ends
// of all connections agree, and at the end all transforms are gone.

namespace {

constexpr std::int32_t width = 16;
constexpr std::int32_t height = 8;

// ---- Transforms

// What is alive, copies included.
class Counted {
  public:
    Counted() { ++alive; }
    Counted(Counted const &) { ++alive; }
    Counted & operator=(Counted const &) = default;
    ~Counted() { --alive; }

    static inline int alive = 0;
};

// One band of bytes: those of the input, if there is one, plus an amount.
class FuzzOp : public QelImageOp {
  public:
    FuzzOp(MoxSmartPtr<Qel2DImage> input, int amount) : input_(std::move(input)), amount_(amount) {}

    bool genOutputInfo(QelImageInfo & info, QelOpContext) override {
        info.setSize(width, height);
        return true;
    }

    void compute(QelRectBuffer * buffer, QelOpContext) override {
        buffer->getData();
        QelRect const rect = buffer->rect();
        MoxSmartPtr<QelRectBuffer> source;
        if (input_) {
            source = new QelRectBuffer(input_->dataOrg(), rect);
            input_->fillRWBuffer(source, true);
        }
        for (std::int32_t y = rect.y; y < rect.y + rect.height; ++y)
            for (std::int32_t x = rect.x; x < rect.x + rect.width; ++x) {
                int const before = source ? *source->addressOf(x, y) : 0;
                *buffer->addressOf(x, y) = static_cast<std::uint8_t>(before + amount_);
            }
    }

  private:
    MoxSmartPtr<Qel2DImage> input_;
    int amount_;
};

class FuzzSource : public QelTransform {
  public:
    FuzzSource() {
        addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("out")));
        addAttribute(new QelSimpleAttribute<int>("amount", 1), true);
    }

    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new FuzzSource(*this));
    }
    void setupTransform() override {
        for (int i = 0; i < numOutputs(); ++i) {
            dynamic_cast<QelImageOutputCP &>(*getOutputCP(i))
                .setAttributes(
                    new QelSimpleDataOrg(width, height, QelDataType::UChar, 1, PIXEL_INTERLEAVED),
                    new QelXyCoordSpace(static_cast<unsigned>(width),
                                        static_cast<unsigned>(height)),
                    nullptr, nullptr, true);
        }
        setStatusOK();
    }
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const &, int) const override {
        return MoxSmartPtr<QelImageOp>(new FuzzOp(nullptr, attributeValue<int>("amount")));
    }

  private:
    Counted counted_;
};

template <class Base>
class FuzzOperation : public Base {
  public:
    FuzzOperation() : Base("in", "out") {
        this->addAttribute(new QelSimpleAttribute<int>("amount", 1), true);
    }

    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new FuzzOperation(*this));
    }
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int) const override {
        return MoxSmartPtr<QelImageOp>(new FuzzOp(this->getPrimaryImageInput()->get2DImage(id),
                                                  this->template attributeValue<int>("amount")));
    }

  private:
    Counted counted_;
};

// ---- What holds at any time

[[noreturn]] void fail(std::string const & what) {
    fuzzFail(what, "in the graph");
}

void require(bool condition, char const * what) {
    if (!condition) fail(what);
}

void checkInput(QelInputConnectionPoint & input) {
    MoxSmartPtr<QelOutputConnectionPoint> const source = input.getConnectedOutput(false);
    require(input.streamData() == (source ? source->streamData() : nullptr), "other stream data");
    require(input.upstreamTransform().get() == (source ? source->owner() : nullptr), "not held");
    if (!source) return;
    auto const consumers = source->connectedInputs();
    require(std::count(consumers.begin(), consumers.end(), &input) == 1, "not fed once");
}

void checkOutput(QelTransform const & owner, QelOutputConnectionPoint const & output) {
    auto const consumers = output.connectedInputs();
    require(consumers.size() == output.numConnectedInputs(), "the number of consumers is wrong");
    int caching = output.caching() ? 1 : 0;
    for (QelInputConnectionPoint const * const input : consumers) {
        require(input->getConnectedOutput(false) == &output, "a consumer has another source");
        caching += input->caching() ? 1 : 0;
    }
    QelStreamData const & data = *output.streamData();
    require(data.cachingCount() == caching, "the count of who wants tiles kept is wrong");
    require(owner.setupDone() || data.outOfDate(), "an output passes for up to date");
    require(owner.statusOk() || !data.statusOk(), "an output passes for good");
}

void checkTransform(QelTransform const & transform) {
    require(transform.setupDone() || !transform.statusOk(), "good and out of date");
    for (int i = 0; i < transform.numInputs(); ++i)
        checkInput(*transform.getInputCP(i));
    for (int i = 0; i < transform.numOutputs(); ++i)
        checkOutput(transform, *transform.getOutputCP(i));
    if (!transform.statusOk() || transform.numInputs() == 0) return;
    MoxSmartPtr<QelOutputConnectionPoint> const source =
        transform.getInputCP(0)->getConnectedOutput(false);
    require(source && source->owner()->statusOk(), "good behind a bad source");
}

// What the amounts add up to along the primary inputs. Requires: the status is good.
int sumAt(QelTransform const & transform) {
    int sum = 0;
    MoxSmartPtr<QelTransform const> at = &transform;
    while (true) {
        sum += at->attributeValue<int>("amount");
        if (at->numInputs() == 0) return sum;
        at = at->getInputCP(0)->getConnectedOutput(false)->owner();
    }
}

// ---- Edits

class Choices {
  public:
    Choices(std::uint8_t const * data, std::size_t size) : next_(data), end_(data + size) {}

    bool areLeft() const { return next_ != end_; }
    // A number below `end`; 0 when nothing is left.
    std::size_t below(std::size_t end, char first = '0') {
        if (next_ == end_) return 0;
        return static_cast<std::size_t>(static_cast<std::uint8_t>(*next_++ - first)) % end;
    }
    int below(int end) { return static_cast<int>(below(static_cast<std::size_t>(end))); }

  private:
    std::uint8_t const * next_;
    std::uint8_t const * end_;
};

class Graph {
  public:
    Graph(std::uint8_t const * data, std::size_t size) : choices_(data, size) {}
    Graph(Graph const &) = delete;
    Graph & operator=(Graph const &) = delete;

    // Circles would hold themselves.
    ~Graph() {
        for (MoxSmartPtr<QelTransform> const & transform : held_) {
            for (int i = 0; i < transform->numInputs(); ++i)
                transform->disconnect(i);
        }
    }

    void run() {
        while (choices_.areLeft()) {
            (this->*edits[choices_.below(edits.size(), 'A')])();
            checkAll();
        }
    }

  private:
    static constexpr std::size_t mostTransforms = 40;
    static constexpr int mostPoints = 5;

    QelTransform & any() {
        if (held_.empty()) held_.push_back(new FuzzSource());
        return *held_[choices_.below(held_.size())];
    }

    MoxSmartPtr<QelInputConnectionPoint> anyInput() {
        QelTransform & at = any();
        return at.numInputs() > 0 ? at.getInputCP(choices_.below(at.numInputs())) : nullptr;
    }

    MoxSmartPtr<QelOutputConnectionPoint> anyOutput() {
        QelTransform & at = any();
        return at.getOutputCP(choices_.below(at.numOutputs()));
    }

    // May `edit` be refused with this code? With no other one.
    template <class Edit>
    static void mayRaise(int code, Edit const & edit) {
        try {
            edit();
        } catch (ZanError const & error) {
            if (error.getErrcode() != code) fail(error.getMsg());
        }
    }

    static bool isCircular(QelTransform & transform) {
        QelConstGraphIterator i(&transform, false, false);
        std::vector<QelTransform const *> met;
        for (; !i.done(); i.next())
            met.push_back(i.current());
        std::sort(met.begin(), met.end());
        require(std::adjacent_find(met.begin(), met.end()) == met.end(), "met twice");
        return i.isCyclic();
    }

    void keep(MoxSmartPtr<QelTransform> const & transform) {
        if (held_.size() < mostTransforms) held_.push_back(transform);
    }

    void addSource() { keep(new FuzzSource()); }
    void addOperation() { keep(new FuzzOperation<QelOperation>()); }
    void addPointOperation() { keep(new FuzzOperation<QelPointOperation>()); }
    void copy() { keep(any().clone()); }

    // Not one with a circle upstream: nobody could take that apart any more.
    void drop() {
        QelTransform & one = any();
        if (isCircular(one)) return;
        held_.erase(std::find(held_.begin(), held_.end(), &one));
    }

    void connect() {
        MoxSmartPtr<QelInputConnectionPoint> const input = anyInput();
        MoxSmartPtr<QelOutputConnectionPoint> const output = anyOutput();
        if (!input) return;
        mayRaise(QelErrorCode::sameTransform, [&] { input->connect(output.get()); });
    }

    void connectFromOutput() {
        MoxSmartPtr<QelOutputConnectionPoint> const output = anyOutput();
        MoxSmartPtr<QelInputConnectionPoint> const input = anyInput();
        if (!input) return;
        mayRaise(QelErrorCode::sameTransform,
                 [&] { output->addConnection(input->owner(), input->name()); });
    }

    void disconnect() {
        MoxSmartPtr<QelInputConnectionPoint> const input = anyInput();
        if (input) input->disconnect();
    }

    void disconnectFromOutput() {
        MoxSmartPtr<QelOutputConnectionPoint> const output = anyOutput();
        MoxSmartPtr<QelInputConnectionPoint> const input = anyInput();
        if (!input) return;
        mayRaise(QelErrorCode::notConnectedHere, [&] { output->removeConnection(input.get()); });
    }

    void addInput() {
        QelTransform & at = any();
        if (at.numInputs() == 0 || at.numInputs() >= mostPoints) return;
        at.addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new QelImageInputCP(newName())));
    }

    void addOutput() {
        QelTransform & at = any();
        if (at.numOutputs() >= mostPoints) return;
        at.addConnectionPoint(
            MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP(newName())));
    }

    std::string newName() { return "point " + std::to_string(names_++); }

    void removeInput() {
        QelTransform & at = any();
        if (at.numInputs() > 1)
            at.removeInputConnectionPoint(1 + choices_.below(at.numInputs() - 1));
    }

    void removeOutput() {
        QelTransform & at = any();
        if (at.numOutputs() > 1)
            at.removeOutputConnectionPoint(1 + choices_.below(at.numOutputs() - 1));
    }

    void setAmount() { any().setAttributeValue<int>("amount", choices_.below(10)); }

    void setCaching() {
        bool const caching = choices_.below(2) == 1;
        if (choices_.below(2) == 0) return anyOutput()->setCaching(caching);
        MoxSmartPtr<QelInputConnectionPoint> const input = anyInput();
        if (input) input->setCaching(caching);
    }

    void mark() { any().markOutOfDate(true); }

    void askStatus() {
        QelTransform & at = any();
        bool const good = at.isStatusOk();
        require(at.setupDone(), "a status does not settle");
        require(good == at.statusOk() && good == at.isStatusOk(), "a status changes by itself");
        bool const isGoodMessage =
            at.getStatusMessage().getErrcode() == QelErrorCode::noStatusMessage;
        require(!good || isGoodMessage, "a good status has a message");
    }

    // All of them, and after that nothing is out of date.
    void askAll() {
        for (MoxSmartPtr<QelTransform> const & transform : held_)
            transform->isStatusOk();
        for (MoxSmartPtr<QelTransform> const & transform : held_)
            require(transform->setupDone(), "a question marks others");
    }

    static void checkPixel(QelTransform & transform, int x, int y, int expected) {
        auto & output = dynamic_cast<QelImageOutputCP &>(*transform.getOutputCP(0));
        MoxSmartPtr<QelXySimpleRegion> const region = output.getMaxResRegion();
        region->setPixelBounds(QelRect(x, y, 1, 1));
        QelImageRequestDesc const request(region);
        MoxSmartPtr<QelRectBuffer> const pixel = output.getData(&request, true);
        require(pixel && *pixel->addressOf(x, y) == (expected & 255), "a wrong pixel");
    }

    void readPixel() {
        QelTransform & at = any();
        if (at.isStatusOk())
            checkPixel(at, choices_.below(width), choices_.below(height), sumAt(at));
    }

    void render() {
        QelTransform & at = any();
        if (isCircular(at)) return;
        MoxSmartPtr<QelOperation> const end = new FuzzOperation<QelOperation>();
        at.cloneForRender("out", end->getPrimaryInput(), end.get());
        at.clearClonePtr(end.get());
        for (QelConstGraphIterator i(&at, false, false); !i.done(); i.next())
            require(i.current()->clonePtr() == nullptr, "a clone is still known");
        if (!end->isStatusOk()) return;
        checkTransform(*end);
        checkPixel(*end, 3, 3, sumAt(*end));
    }

    void compact() {
        QelTransform & at = any();
        // A primary input stays where it is.
        if (at.numInputs() > 0 && !at.getInputCP(0)->getConnectedOutput(false)) return;
        bool const pack = choices_.below(2) == 1;
        bool const remove = choices_.below(2) == 1;
        mayRaise(QelErrorCode::noSuchPointIndex, [&] { at.compactInputs(pack, remove); });
    }

    void walkDownstream() {
        std::size_t met = 0;
        for (QelDownstreamIterator i(&any()); !i.done(); i.next())
            ++met;
        require(met <= static_cast<std::size_t>(Counted::alive), "more than there are");
    }

    void checkAll() const {
        for (MoxSmartPtr<QelTransform> const & transform : held_) {
            checkTransform(*transform);
            for (int i = 0; i < transform->numInputs(); ++i) {
                MoxSmartPtr<QelTransform> const upstream =
                    transform->getInputCP(i)->upstreamTransform();
                if (upstream) checkTransform(*upstream);
            }
        }
    }

    using Edit = void (Graph::*)();
    static constexpr std::array<Edit, 23> edits = {
        &Graph::addSource,             // A
        &Graph::addOperation,          // B
        &Graph::addPointOperation,     // C
        &Graph::copy,                  // D
        &Graph::drop,                  // E
        &Graph::connect,               // F
        &Graph::connectFromOutput,     // G
        &Graph::disconnect,            // H
        &Graph::disconnectFromOutput,  // I
        &Graph::addInput,              // J
        &Graph::addOutput,             // K
        &Graph::removeInput,           // L
        &Graph::removeOutput,          // M
        &Graph::setAmount,             // N
        &Graph::setCaching,            // O
        &Graph::mark,                  // P
        &Graph::askStatus,             // Q
        &Graph::askAll,                // R
        &Graph::readPixel,             // S
        &Graph::render,                // T
        &Graph::compact,               // U
        &Graph::walkDownstream,        // V
        &Graph::connect,               // W, as often again
    };

    Choices choices_;
    std::vector<MoxSmartPtr<QelTransform>> held_;
    int names_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Graph(data, size).run();
    if (Counted::alive != 0) fail(std::to_string(Counted::alive) + " transforms are left");
    return 0;
}
