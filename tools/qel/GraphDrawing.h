#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "QelClients.h"

// What a graph looks like when it is made: all transforms that can be reached upstream from one,
// sources first. Brings the graph up to date.
class GraphDrawing {
  public:
    explicit GraphDrawing(QelTransform & last);

    // A block of lines for each transform.
    void printText(std::ostream & out) const;
    // The language of Graphviz: a box for each transform, red for one with a bad status, an arrow
    // for each connection.
    void printDot(std::ostream & out) const;

  private:
    struct Edge {
        std::size_t source;  // in boxes_
        std::string output;
        std::string input;
    };
    struct Box {
        std::string label;
        std::string className;
        bool isGood;
        std::string message;                  // empty when good
        std::vector<std::string> attributes;  // "NAME = VALUE"
        std::vector<Edge> inputs;
    };

    static Box boxOf(QelTransform & transform);
    static std::vector<std::string> linesOf(Box const & box);

    std::vector<Box> boxes_;
};
