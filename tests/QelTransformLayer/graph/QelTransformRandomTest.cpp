#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "GraphModel.h"
#include "GraphTesting.h"
#include "TestRandom.h"

// Random edits of a graph, after each of which it is what a slow model says.

namespace {

using Kind = GraphModel::Kind;
using Node = GraphModel::Node;
using Place = GraphModel::Place;

constexpr std::uint32_t seed = 20261122;
constexpr int height = 10;

int setupsOf(QelTransform const & transform) {
    if (auto const * source = dynamic_cast<SourceTransform const *>(&transform))
        return source->setups();
    if (auto const * add = dynamic_cast<AddTransform const *>(&transform)) return add->setups();
    return dynamic_cast<JointTransform const &>(transform).setups();
}

class QelTransformRandomTest : public testing::Test {
  protected:
    // ---- Choices

    int below(int end) { return random_.between(0, end - 1); }

    // A transform that the test holds. Requires: there is one.
    int any() { return std::next(held_.begin(), below(static_cast<int>(held_.size())))->first; }
    QelTransform & real(int number) { return *real_.at(number); }
    Node const & node(int number) const { return model_.nodes().at(number); }
    int inputsOf(int number) const { return static_cast<int>(node(number).inputs.size()); }
    int outputsOf(int number) const { return static_cast<int>(node(number).outputs.size()); }
    bool isFull() const { return static_cast<int>(model_.nodes().size()) >= mostTransforms_; }

    // ---- Transforms

    void keep(int number, MoxSmartPtr<QelTransform> const & transform) {
        held_[number] = transform;
        real_[number] = transform.get();
    }

    int addSource() {
        int const amount = below(4);
        int const width = below(8) == 0 ? 24 : 20;
        MoxSmartPtr<SourceTransform> const source =
            new SourceTransform({.width = width, .height = height});
        source->setAttributeValue<double>("level", amount);
        Node node{.kind = Kind::source, .name = source->describe(), .outputs{{}}};
        node.amount = amount;
        node.width = width;
        int const number = model_.add(node);
        keep(number, source.get());
        return number;
    }

    int addAdd() {
        int const amount = below(4);
        MoxSmartPtr<AddTransform> const add = new AddTransform(amount);
        Node node{.kind = Kind::add, .name = add->describe(), .outputs{{}}, .hasPrimary = true};
        node.inputs.push_back({.name = "in"});
        node.amount = amount;
        int const number = model_.add(node);
        keep(number, add.get());
        return number;
    }

    int addJoint(int inputs, int outputs) {
        MoxSmartPtr<JointTransform> const joint = new JointTransform(inputs, outputs);
        Node node{.kind = Kind::joint, .name = joint->describe(), .hasPrimary = inputs > 0};
        for (int i = 0; i < inputs; ++i)
            node.inputs.push_back({.name = "in" + std::to_string(i)});
        node.outputs.resize(static_cast<std::size_t>(outputs));
        int const number = model_.add(node);
        keep(number, joint.get());
        return number;
    }

    void addOne() {
        if (isFull()) return dropOne();
        switch (below(3)) {
            case 0: addSource(); break;
            case 1: addAdd(); break;
            default: addJoint(below(4), 1 + below(2));
        }
    }

    void copyOne() {
        if (isFull()) return dropOne();
        int const from = any();
        keep(model_.copy(from), real(from).clone());
    }

    void dropOne() {
        int const at = any();
        if (model_.isOnCircle(at)) return;
        held_.erase(at);
        model_.drop(at);
        for (auto i = real_.begin(); i != real_.end();)
            i = model_.nodes().contains(i->first) ? std::next(i) : real_.erase(i);
    }

    // ---- Points

    void addInput() {
        int const at = any();
        if (node(at).kind == Kind::source || inputsOf(at) >= 4) return;
        std::string const name = "added" + std::to_string(names_++);
        real(at).addConnectionPoint(
            MoxSmartPtr<QelInputConnectionPoint>(new QelImageInputCP(name)));
        model_.addInput(at, name);
    }

    void removeInput() {
        int const at = any();
        int const least = node(at).hasPrimary ? 1 : 0;
        if (inputsOf(at) <= least) return;
        int const input = least + below(inputsOf(at) - least);
        if (below(4) != 0) {
            real(at).disconnect(input);
            model_.disconnect(at, input);
        }
        real(at).removeInputConnectionPoint(input);
        model_.removeInput(at, input);
    }

    void addOutput() {
        int const at = any();
        if (node(at).kind != Kind::joint || outputsOf(at) >= 3) return;
        std::string const name = "added" + std::to_string(names_++);
        real(at).addConnectionPoint(
            MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP(name)));
        model_.addOutput(at);
    }

    void removeOutput() {
        int const at = any();
        if (outputsOf(at) < 2) return;
        real(at).removeOutputConnectionPoint(outputsOf(at) - 1);
        model_.removeLastOutput(at);
    }

    // ---- Connections

    void connect(int to, int input, int from, int output) {
        bool connected = true;
        try {
            real(to).connect(input, &real(from), output);
        } catch (ZanError const & error) {
            EXPECT_EQ(QelErrorCode::sameTransform, error.getErrcode());
            connected = false;
        }
        EXPECT_EQ(model_.connect(to, input, {from, output}), connected);
    }

    void connectTwo() {
        int const to = any();
        int const from = any();
        if (inputsOf(to) > 0) connect(to, below(inputsOf(to)), from, below(outputsOf(from)));
    }

    void disconnectOne() {
        int const at = any();
        if (inputsOf(at) == 0) return;
        int const input = below(inputsOf(at));
        real(at).disconnect(input);
        model_.disconnect(at, input);
    }

    // ---- Settings

    void setAmount() {
        int const at = any();
        if (node(at).kind == Kind::joint) return;
        int const amount = below(4);
        char const * const name = node(at).kind == Kind::source ? "level" : "amount";
        real(at).setAttributeValue<double>(name, amount);
        model_.setAmount(at, amount);
    }

    void setCaching() {
        int const at = any();
        bool const caching = random_.coin();
        if (inputsOf(at) > 0 && random_.coin()) {
            int const input = below(inputsOf(at));
            real(at).getInputCP(input)->setCaching(caching);
            model_.setInputCaching(at, input, caching);
        } else {
            int const output = below(outputsOf(at));
            real(at).getOutputCP(output)->setCaching(caching);
            model_.setOutputCaching(at, output, caching);
        }
    }

    // ---- Questions

    void askStatus() {
        int const at = any();
        EXPECT_EQ(model_.askStatus(at), real(at).isStatusOk());
        GraphModel::Status const expected = model_.messageOf(at);
        ZanError const error = real(at).getStatusMessage();
        EXPECT_EQ(expected.code, error.getErrcode());
        EXPECT_EQ(expected.text, error.getMsg());
    }

    // One pixel of an output, which adds `sum` to the gradient; none where it is not good.
    void expectPixel(QelTransform & transform, int output, int width, std::optional<int> sum) {
        QelImageOutputCP & point = imageOutput(transform, output);
        ASSERT_EQ(sum.has_value(), point.getStatus());
        if (!sum) return;
        std::int32_t const x = below(width);
        std::int32_t const y = below(height);
        MoxSmartPtr<QelXySimpleRegion> const region = point.getMaxResRegion();
        ASSERT_EQ(QelRect(0, 0, width, height), region->pixelBounds());
        region->setPixelBounds(QelRect(x, y, 1, 1));
        QelImageRequestDesc const request(region);
        MoxSmartPtr<QelRectBuffer> const pixel = point.getData(&request, true);
        ASSERT_TRUE(pixel);
        int const expected = static_cast<int>(gradientAt(x, y, 1)) + *sum;
        ASSERT_EQ(expected & 255, elementAt(*pixel, x, y, 1));
    }

    void readPixel() {
        int const at = any();
        int const output = below(outputsOf(at));
        std::optional<int> const sum = model_.sumAt(at, output);
        expectPixel(real(at), output, sum ? model_.widthOf(at) : 0, sum);
    }

    // The clones are set up from scratch and know nothing of later edits, and nothing of them is
    // left in the graph.
    void renderClone() {
        int const at = any();
        for (int const upstream : model_.upstreamOf(at))
            if (model_.isOnCircle(upstream)) return;  // of clones that would hold each other
        int const output = below(outputsOf(at));
        MoxSmartPtr<AddTransform> const end = new AddTransform(1.0);
        QelOutputConnectionPoint const & source = *real(at).getOutputCP(output);
        real(at).cloneForRender(source.name(), end->getInputCP(0).get(), end.get());
        EXPECT_EQ(source.name(), end->getInputCP(0)->getConnectedOutput(false)->name());
        real(at).clearClonePtr(end.get());

        GraphModel clones = model_;
        clones.forgetStatuses();
        std::optional<int> const sum = clones.sumAt(at, output);
        setAmount();
        expectPixel(*end, 0, sum ? clones.widthOf(at) : 0,
                    sum ? std::optional<int>(*sum + 1) : std::nullopt);
    }

    void edit() {
        if (held_.empty()) addSource();
        switch (below(20)) {
            case 0:
            case 1: return addOne();
            case 2: return copyOne();
            case 3:
            case 4:
            case 5:
            case 6:
            case 7: return connectTwo();
            case 8:
            case 9: return disconnectOne();
            case 10: return setAmount();
            case 11: return setCaching();
            case 12: return random_.coin() ? addInput() : addOutput();
            case 13: return random_.coin() ? removeInput() : removeOutput();
            case 14: return dropOne();
            case 15: return renderClone();
            case 16:
            case 17: return askStatus();
            default: return readPixel();
        }
    }

    // ---- Comparison

    void expectInputAsModel(Place place) {
        GraphModel::Input const & expected =
            node(place.first).inputs.at(static_cast<std::size_t>(place.second));
        MoxSmartPtr<QelInputConnectionPoint> const input =
            real(place.first).getInputCP(place.second);
        ASSERT_EQ(expected.name, input->name());
        ASSERT_EQ(expected.caching, input->caching());
        MoxSmartPtr<QelOutputConnectionPoint> const source =
            expected.source ? real(expected.source->transform).getOutputCP(expected.source->output)
                            : nullptr;
        ASSERT_EQ(source.get(), input->getConnectedOutput(false).get());
        ASSERT_EQ(source ? source->streamData() : nullptr, input->streamData());
    }

    void expectOutputAsModel(Place place, std::vector<Place> const & consumers) {
        GraphModel::Output const & expected =
            node(place.first).outputs.at(static_cast<std::size_t>(place.second));
        MoxSmartPtr<QelOutputConnectionPoint> const output =
            real(place.first).getOutputCP(place.second);
        QelStreamData const & data = *output->streamData();
        ASSERT_EQ(!expected.settled, data.outOfDate());
        ASSERT_EQ(expected.settled && expected.good, data.statusOk());
        std::vector<QelInputConnectionPoint *> inputs;
        int caching = expected.caching ? 1 : 0;
        for (auto const & [consumer, input] : consumers) {
            inputs.push_back(real(consumer).getInputCP(input).get());
            caching += inputs.back()->caching() ? 1 : 0;
        }
        ASSERT_EQ(inputs, output->connectedInputs());
        ASSERT_EQ(inputs.size(), output->numConnectedInputs());
        ASSERT_EQ(expected.caching, output->caching());
        ASSERT_EQ(caching, data.cachingCount());
        ASSERT_EQ(caching > 0, data.caching());
    }

    void expectStatusAsModel(int number) {
        QelTransform const & transform = real(number);
        Node const & expected = node(number);
        ASSERT_EQ(expected.done, transform.setupDone());
        ASSERT_EQ(expected.isGood(), transform.statusOk());
        ASSERT_EQ(expected.setups, setupsOf(transform));
        ASSERT_EQ(inputsOf(number), transform.numInputs());
        ASSERT_EQ(outputsOf(number), transform.numOutputs());
    }

    void expectAllAsModel() {
        auto const consumers = model_.consumers();
        for (auto const & [number, node] : model_.nodes()) {
            SCOPED_TRACE("transform " + std::to_string(number));
            ASSERT_NO_FATAL_FAILURE(expectStatusAsModel(number));
            int holders = node.held ? 1 : 0;
            for (int i = 0; i < inputsOf(number); ++i)
                ASSERT_NO_FATAL_FAILURE(expectInputAsModel({number, i})) << "input " << i;
            for (int i = 0; i < outputsOf(number); ++i) {
                auto const found = consumers.find({number, i});
                auto const inputs = found != consumers.end() ? found->second : std::vector<Place>();
                ASSERT_NO_FATAL_FAILURE(expectOutputAsModel({number, i}, inputs)) << "output " << i;
                holders += static_cast<int>(inputs.size());
            }
            ASSERT_EQ(holders, real(number).refCount());
        }
    }

    // Circles would hold themselves.
    void TearDown() override {
        for (auto const & [number, transform] : held_) {
            for (int i = 0; i < transform->numInputs(); ++i)
                transform->disconnect(i);
        }
    }

    TestRandom random_{seed};
    int mostTransforms_ = 24;
    GraphModel model_;
    int names_ = 0;
    std::map<int, MoxSmartPtr<QelTransform>> held_;
    std::map<int, QelTransform *> real_;
};

TEST_F(QelTransformRandomTest, EditsAgreeWithTheModel) {
    for (int i = 0; i < 100000 && !HasFailure(); ++i) {
        SCOPED_TRACE("edit " + std::to_string(i));
        edit();
        expectAllAsModel();
    }
}

// Long enough that questions do not nest from its end to its start; a circle now and then.
TEST_F(QelTransformRandomTest, EditsOfALongChainAgreeWithTheModel) {
    mostTransforms_ = 300;
    std::vector<int> chain{addSource()};
    while (chain.size() < 250)
        chain.push_back(random_.coin() ? addAdd() : addJoint(1 + below(2), 1));
    auto const connectNext = [&](std::size_t at) {
        if (held_.contains(chain[at]) && held_.contains(chain[at - 1]))
            connect(chain[at], 0, chain[at - 1], 0);
    };
    for (std::size_t i = 1; i < chain.size(); ++i)
        connectNext(i);
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
        SCOPED_TRACE("edit " + std::to_string(i));
        if (below(4) != 0) {
            connectNext(1 + static_cast<std::size_t>(below(249)));
            askStatus();
        } else {
            edit();
        }
        expectAllAsModel();
    }
}

}  // namespace
