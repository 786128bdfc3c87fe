#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// A graph of sources, AddTransforms and JointTransforms as sets and plain recursion: slow, and
// small enough to be believed. Transforms are numbers, and so are their points.
class GraphModel {
  public:
    enum class Kind { source, add, joint };

    struct Source {
        int transform;
        int output;
    };

    struct Input {
        std::string name;
        bool caching = false;
        std::optional<Source> source = {};
        int order = 0;  // when it was connected
    };

    struct Output {
        bool caching = false;
        bool settled = false;
        bool good = false;
    };

    // Code 0 for a good one.
    struct Status {
        int code = 0;
        std::string text = {};
    };

    struct Node {
        Kind kind = Kind::source;
        std::string name = {};  // as messages show it
        std::vector<Input> inputs = {};
        std::vector<Output> outputs = {};
        bool hasPrimary = false;  // the first input
        int amount = 0;
        int width = 0;  // of a source's image
        bool held = true;
        bool done = false;
        bool settingUp = false;
        bool onCircle = false;
        int setups = 0;
        Status status = {};

        bool isGood() const { return done && status.code == 0; }
    };

    using Place = std::pair<int, int>;  // a transform, and one of its points

    // Edits

    int add(Node node);
    // With the label and the counter of the original.
    int copy(int transform);
    void addInput(int transform, std::string const & name);
    void removeInput(int transform, int input);
    void addOutput(int transform);
    void removeLastOutput(int transform);
    // False for two points of one transform.
    bool connect(int transform, int input, Source source);
    void disconnect(int transform, int input);
    void setAmount(int transform, int amount);
    void setInputCaching(int transform, int input, bool caching);
    void setOutputCaching(int transform, int output, bool caching);
    // Whoever nobody holds any more goes, and so on upstream.
    void drop(int transform);
    // As if nothing had been set up yet.
    void forgetStatuses();

    // Questions

    // Does it hold itself? Nobody could reach it once it was dropped.
    bool isOnCircle(int transform) const { return upstreamOf(transform).contains(transform); }
    std::set<int> upstreamOf(int transform) const;
    bool askStatus(int transform);
    // The status that tells why it is bad, and the one that tells that it is not.
    Status messageOf(int transform);
    // What an output adds to the gradient; none for one that is not good.
    std::optional<int> sumAt(int transform, int output);
    int widthOf(int transform) const;

    std::map<int, Node> const & nodes() const { return nodes_; }
    // The inputs that outputs feed, in the order in which they were connected.
    std::map<Place, std::vector<Place>> consumers() const;

  private:
    // As deep as questions nest; what lies farther upstream is set up ahead of them.
    static constexpr std::size_t deepest = 100;

    // What is not known is added, and what lies upstream of it.
    void addUpstream(int transform, std::set<int> & known) const;
    void mark(int transform);
    void collect();
    void update(int transform);
    void setUpUpstreamOf(int transform);
    void setUpAlone(int transform);
    Status setUp(Node const & node);
    Status setUpAdd(Node const & node);
    Status setUpJoint(Node const & node);
    bool isGood(Input const & input);
    Status messageAt(Node const & node, Input const & input);

    std::map<int, Node> nodes_;
    std::vector<int> nested_;  // set-ups under way
    int next_ = 0;
    int connections_ = 0;
};
