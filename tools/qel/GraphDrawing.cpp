#include "GraphDrawing.h"

#include <map>
#include <ostream>
#include <sstream>

#include "Commands.h"

namespace {

std::string valueOf(QelAttribute const & attribute) {
    std::ostringstream text;
    text.precision(15);
    attribute.writeValue(text);
    return text.str();
}

// As the inside of a quoted text of Graphviz, which knows entities such as "&lt;", too; each line
// ends at the left.
std::string escaped(std::string const & text) {
    std::string result;
    for (char const c : text) {
        switch (c) {
            case '\n': result += "\\l"; break;
            case '&': result += "&amp;"; break;
            case '"': result += "\\\""; break;
            case '\\': result += "\\\\"; break;
            default: result += c;
        }
    }
    return result;
}

// Lines behind the first one stand as far to the right as it.
std::string indented(std::string const & text) {
    std::string result;
    for (char const c : text) {
        result += c;
        if (c == '\n') result += "    ";
    }
    return result;
}

}  // namespace

GraphDrawing::GraphDrawing(QelTransform & last) {
    // One question sets up all that is upstream.
    last.isStatusOk();
    std::map<QelTransform const *, std::size_t> places;
    for (QelGraphIterator i(&last, true, false); !i.done(); i.next()) {
        QelTransform & transform = *i.current();
        Box box = boxOf(transform);
        for (int k = 0; k < transform.numInputs(); ++k) {
            MoxSmartPtr<QelInputConnectionPoint> const input = transform.getInputCP(k);
            MoxSmartPtr<QelOutputConnectionPoint> const output = input->getConnectedOutput(true);
            auto const source = places.find(output ? output->owner() : nullptr);
            if (source != places.end())
                box.inputs.push_back({source->second, output->name(), input->name()});
        }
        places[&transform] = boxes_.size();
        boxes_.push_back(std::move(box));
    }
}

GraphDrawing::Box GraphDrawing::boxOf(QelTransform & transform) {
    Box box{transform.getLabel(), transform.getClassName(), transform.isStatusOk(), "", {}, {}};
    if (!box.isGood) box.message = textOf(transform.getStatusMessage());
    for (int i = 0; i < transform.getNumAttributes(); ++i) {
        box.attributes.push_back(transform.getAttributeName(i) + " = " +
                                 valueOf(*transform.getAttribute(i)));
    }
    return box;
}

std::vector<std::string> GraphDrawing::linesOf(Box const & box) {
    std::vector<std::string> lines{box.label, box.className + (box.isGood ? ", good" : ", bad")};
    if (!box.isGood) lines.push_back(box.message);
    lines.insert(lines.end(), box.attributes.begin(), box.attributes.end());
    return lines;
}

void GraphDrawing::printText(std::ostream & out) const {
    for (Box const & box : boxes_) {
        out << box.label << ": " << box.className << (box.isGood ? ", good\n" : ", bad\n");
        if (!box.isGood) out << "    " << indented(box.message) << '\n';
        for (std::string const & attribute : box.attributes)
            out << "    " << indented(attribute) << '\n';
        for (Edge const & edge : box.inputs) {
            out << "    " << edge.input << " <- " << boxes_[edge.source].label << '.' << edge.output
                << '\n';
        }
    }
}

void GraphDrawing::printDot(std::ostream & out) const {
    out << "digraph qel {\n    rankdir=LR;\n    ranksep=0.9;\n    node [shape=box, "
           "fontname=\"sans-serif\"];\n"
           "    edge [fontname=\"sans-serif\", fontsize=10, labeldistance=1.8];\n";
    for (std::size_t i = 0; i < boxes_.size(); ++i) {
        out << "    t" << i << " [label=\"";
        for (std::string const & line : linesOf(boxes_[i]))
            out << escaped(line) << "\\l";
        out << (boxes_[i].isGood ? "\"];\n" : "\", color=red, fontcolor=red];\n");
    }
    for (std::size_t i = 0; i < boxes_.size(); ++i) {
        for (Edge const & edge : boxes_[i].inputs) {
            out << "    t" << edge.source << " -> t" << i << " [taillabel=\""
                << escaped(edge.output) << "\", headlabel=\"" << escaped(edge.input) << "\"];\n";
        }
    }
    out << "}\n";
}
