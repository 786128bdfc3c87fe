#include "GraphModel.h"

#include <algorithm>

namespace {

GraphModel::Status bad(int code, std::string const & text) {
    return {code, "QEL error " + std::to_string(code) + '\n' + text};
}

}  // namespace

// ---- Edits

int GraphModel::add(Node node) {
    nodes_[next_] = std::move(node);
    return next_++;
}

int GraphModel::copy(int transform) {
    Node const & from = nodes_.at(transform);
    Node node{.kind = from.kind, .name = from.name, .hasPrimary = from.hasPrimary};
    node.amount = from.amount;
    node.width = from.width;
    node.setups = from.setups;
    for (Input const & input : from.inputs)
        node.inputs.push_back({.name = input.name});
    for (Output const & output : from.outputs)
        node.outputs.push_back({.caching = output.caching});
    return add(std::move(node));
}

void GraphModel::addInput(int transform, std::string const & name) {
    nodes_.at(transform).inputs.push_back({.name = name});
    mark(transform);
}

void GraphModel::removeInput(int transform, int input) {
    std::vector<Input> & inputs = nodes_.at(transform).inputs;
    inputs.erase(inputs.begin() + input);
    mark(transform);
    collect();
}

void GraphModel::addOutput(int transform) {
    nodes_.at(transform).outputs.push_back({});
    mark(transform);
}

void GraphModel::removeLastOutput(int transform) {
    int const last = static_cast<int>(nodes_.at(transform).outputs.size()) - 1;
    auto const all = consumers();
    auto const found = all.find({transform, last});
    nodes_.at(transform).outputs.pop_back();
    if (found != all.end()) {
        for (auto const & [consumer, input] : found->second)
            disconnect(consumer, input);
    }
    mark(transform);
}

bool GraphModel::connect(int transform, int input, Source source) {
    if (transform == source.transform) return false;
    mark(transform);
    Input & at = nodes_.at(transform).inputs.at(static_cast<std::size_t>(input));
    at.source = source;
    at.order = connections_++;
    collect();
    return true;
}

void GraphModel::disconnect(int transform, int input) {
    Input & at = nodes_.at(transform).inputs.at(static_cast<std::size_t>(input));
    if (!at.source) return;
    mark(transform);
    at.source = std::nullopt;
    collect();
}

void GraphModel::setAmount(int transform, int amount) {
    nodes_.at(transform).amount = amount;
    mark(transform);
}

void GraphModel::setInputCaching(int transform, int input, bool caching) {
    nodes_.at(transform).inputs.at(static_cast<std::size_t>(input)).caching = caching;
}

void GraphModel::setOutputCaching(int transform, int output, bool caching) {
    nodes_.at(transform).outputs.at(static_cast<std::size_t>(output)).caching = caching;
}

void GraphModel::drop(int transform) {
    nodes_.at(transform).held = false;
    collect();
}

void GraphModel::forgetStatuses() {
    for (auto & [number, node] : nodes_) {
        node.done = false;
        for (Output & output : node.outputs)
            output.settled = false;
    }
}

// A change: out of date from here on downstream, where it is not already.
void GraphModel::mark(int transform) {
    Node & node = nodes_.at(transform);
    if (!node.done) return;
    node.done = false;
    for (Output & output : node.outputs)
        output.settled = false;
    for (auto const & [number, other] : nodes_) {
        for (Input const & input : other.inputs)
            if (input.source && input.source->transform == transform) mark(number);
    }
}

void GraphModel::collect() {
    std::set<int> alive;
    for (auto const & [number, node] : nodes_) {
        if (!node.held || !alive.insert(number).second) continue;
        addUpstream(number, alive);
    }
    std::erase_if(nodes_, [&alive](auto const & node) { return !alive.contains(node.first); });
}

// ---- Questions

std::set<int> GraphModel::upstreamOf(int transform) const {
    std::set<int> upstream;
    addUpstream(transform, upstream);
    return upstream;
}

void GraphModel::addUpstream(int transform, std::set<int> & known) const {
    for (Input const & input : nodes_.at(transform).inputs) {
        if (!input.source || !known.insert(input.source->transform).second) continue;
        addUpstream(input.source->transform, known);
    }
}

std::map<GraphModel::Place, std::vector<GraphModel::Place>> GraphModel::consumers() const {
    std::map<Place, std::map<int, Place>> inOrder;
    for (auto const & [number, node] : nodes_) {
        for (std::size_t i = 0; i < node.inputs.size(); ++i) {
            Input const & input = node.inputs[i];
            if (!input.source) continue;
            Place const place{input.source->transform, input.source->output};
            inOrder[place][input.order] = {number, static_cast<int>(i)};
        }
    }
    std::map<Place, std::vector<Place>> result;
    for (auto const & [place, inputs] : inOrder) {
        for (auto const & [order, input] : inputs)
            result[place].push_back(input);
    }
    return result;
}

bool GraphModel::askStatus(int transform) {
    update(transform);
    return nodes_.at(transform).isGood();
}

GraphModel::Status GraphModel::messageOf(int transform) {
    update(transform);
    Node const & node = nodes_.at(transform);
    if (node.done && node.status.code != 0) return node.status;
    return bad(100, "There is no status message in transform " + node.name);
}

std::optional<int> GraphModel::sumAt(int transform, int output) {
    Node const & node = nodes_.at(transform);
    if (!askStatus(transform) || !node.outputs.at(static_cast<std::size_t>(output)).settled)
        return std::nullopt;
    int const own = node.kind == Kind::joint ? output : node.amount;
    if (node.kind == Kind::source) return own;
    Source const source = node.inputs.at(0).source.value();
    return sumAt(source.transform, source.output).value() + own;
}

int GraphModel::widthOf(int transform) const {
    Node const & node = nodes_.at(transform);
    if (node.kind == Kind::source) return node.width;
    return widthOf(node.inputs.at(0).source.value().transform);
}

// ---- Set-up

void GraphModel::update(int transform) {
    Node & node = nodes_.at(transform);
    if (node.done) return;
    if (node.settingUp) {
        if (nested_.back() != transform) node.onCircle = true;
        return;
    }
    node.settingUp = true;
    node.onCircle = false;
    if (nested_.size() >= deepest) setUpUpstreamOf(transform);
    setUpAlone(transform);
    node.settingUp = false;
}

void GraphModel::setUpUpstreamOf(int transform) {
    std::vector<Input> const inputs = nodes_.at(transform).inputs;
    for (auto input = inputs.rbegin(); input != inputs.rend(); ++input) {
        if (!input->source) continue;
        Node & source = nodes_.at(input->source->transform);
        if (source.done || source.settingUp) continue;
        source.settingUp = true;
        source.onCircle = false;
        setUpUpstreamOf(input->source->transform);
        setUpAlone(input->source->transform);
        source.settingUp = false;
    }
}

void GraphModel::setUpAlone(int transform) {
    Node & node = nodes_.at(transform);
    nested_.push_back(transform);
    ++node.setups;
    node.status = setUp(node);
    if (node.status.code == 0 && node.onCircle)
        node.status = bad(125, "Transform " + node.name + " is connected to itself in a circle");
    node.done = true;
    for (Output & output : node.outputs)
        output = {.caching = output.caching, .settled = true, .good = node.status.code == 0};
    nested_.pop_back();
}

GraphModel::Status GraphModel::setUp(Node const & node) {
    switch (node.kind) {
        case Kind::source: return {};
        case Kind::add: return setUpAdd(node);
        default: return setUpJoint(node);
    }
}

bool GraphModel::isGood(Input const & input) {
    if (!input.source) return false;
    Node const & source = nodes_.at(input.source->transform);
    Output const & output = source.outputs.at(static_cast<std::size_t>(input.source->output));
    if (!output.settled) update(input.source->transform);
    return output.settled && output.good;
}

GraphModel::Status GraphModel::messageAt(Node const & node, Input const & input) {
    if (input.source) return messageOf(input.source->transform);
    return bad(67, "Input " + input.name + " of transform " + node.name + " is not connected");
}

GraphModel::Status GraphModel::setUpAdd(Node const & node) {
    for (std::size_t i = 0; i < node.inputs.size(); ++i) {
        Input const & input = node.inputs[i];
        std::string const start =
            "Input " + input.name + "(index " + std::to_string(i) + ") of transform " + node.name;
        if (!input.source) return bad(600, start + " is unconnected");
        if (!isGood(input))
            return bad(600, start + " has bad status: \n" + messageAt(node, input).text);
    }
    int const width = widthOf(node.inputs[0].source->transform);
    for (Input const & input : node.inputs) {
        if (widthOf(input.source->transform) != width)
            return bad(600, "There are no common resolutions in transform " + node.name);
    }
    return {};
}

GraphModel::Status GraphModel::setUpJoint(Node const & node) {
    for (auto input = node.inputs.rbegin(); input != node.inputs.rend(); ++input)
        isGood(*input);
    if (!node.hasPrimary) {
        return bad(70,
                   "There is no primary input on which to base output attributes for operation " +
                       node.name);
    }
    if (isGood(node.inputs[0])) return {};
    Status upstream = messageAt(node, node.inputs[0]);
    upstream.text += "\nTransform " + node.name + " has invalid inputs";
    return upstream;
}
