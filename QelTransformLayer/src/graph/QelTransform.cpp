#include "QelTransform.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <ostream>
#include <utility>

#include "QelAttributeChangedRegistration.h"
#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelGraphIterator.h"
#include "QelHexText.h"
#include "QelImageInputCP.h"
#include "QelImageOutputCP.h"
#include "QelOutput.h"
#include "QelStreamData.h"
#include "QelSystemConfig.h"
#include "QelTransformMarking.h"

QelTransform::QelTransform() : label_(qelHexText(this)) {}

QelTransform::QelTransform(QelTransform const & other)
    : ZanRefCount(),
      QelAttributeBased(other),
      copyConstructed_(true),
      allowAnyConnection_(other.allowAnyConnection_),
      label_(other.label_) {
    try {
        copyPoints(other);
    } catch (...) {
        disownPoints();
        throw;
    }
}

QelTransform::~QelTransform() {
    Marking::forget(*this);
    if (QelSystemConfig::traces(QelSystemConfig::traceActivity)) {
        try {
            QelOutput::write("destroying transform " + label_ + '\n');
        } catch (...) {
            // A trace line is not worth ending the program for.
        }
    }
    disownPoints();
}

void QelTransform::checkCopyConstructed() const {
    if (copyConstructed_) return;
    qelRaise(QelErrorCode::notCopyConstructed,
             "The QelTransform derivative's copy constructor did not initialize it's QelTransform "
             "part via the QelTransform copy constructor.");
}

void QelTransform::setLabel(std::string const & label) {
    std::string const refusal = "An illegal label was provided to a " + getClassName() +
                                " transform.  A transform label cannot contain ";
    if (label.size() > maxLabelLength) {
        qelRaise(QelErrorCode::invalidValue,
                 refusal + "more than " + std::to_string(maxLabelLength) + " characters.");
    }
    if (label.find('"') != std::string::npos) {
        qelRaise(QelErrorCode::invalidValue, refusal + "double-quotes.");
    }
    label_ = label;
}

std::string QelTransform::getClassName() const {
    return QelCoreMisc::classNameOf(*this);
}

std::string QelTransform::describe() const {
    return label_ + '(' + getClassName() + ')';
}

bool QelTransform::isRendering() const {
    return rendering_;
}

void QelTransform::printCalculatedParameters(std::ostream &, std::string const &) const {}

// ---- Listings

namespace {

// Calls list(), and writes a line where that raises.
template <class List>
void listGuarded(std::ostream & out, char const * operation, List const & list) {
    try {
        list();
    } catch (ZanError const & error) {
        out << "Error caught in QelTransform::" << operation << ": " << error.getMsg() << '\n';
    } catch (...) {
        out << "Error caught in QelTransform::" << operation << ": NOT-ZAN\n";
    }
}

// "LABEL:POINT", or "NULL" for none.
std::string endOf(QelConnectionPoint const * point) {
    return point != nullptr ? point->transformLabel() + ':' + point->name() : "NULL";
}

// The ends of all consumers, separated by blanks.
std::string consumersOf(QelOutputConnectionPoint const & output) {
    std::string ends;
    for (QelInputConnectionPoint const * const input : output.connectedInputs()) {
        if (!ends.empty()) ends += ' ';
        ends += endOf(input);
    }
    return ends.empty() ? "NULL" : ends;
}

void listItems(std::ostream & out, std::string const & prefix, QelStreamData * data) {
    MoxSmartPtr<QelRenderedItemContainer> const items =
        data != nullptr ? data->getRenderedItemContainer() : nullptr;
    if (!items) return;
    for (auto i = items->makeIterator(); !i.done(); i.next()) {
        out << prefix << "            ";
        i.get()->print(out);
        out << '\n';
    }
}

}  // namespace

void QelTransform::printTransform(std::ostream & out, std::string const & prefix) const {
    listGuarded(out, "printTransform", [&] { listTransform(out, prefix); });
}

void QelTransform::listTransform(std::ostream & out, std::string const & prefix) const {
    QelPlainFormat const plain(out);
    out << prefix << "Transform " << label_ << ' ' << getClassName() << ' ' << qelHexText(this)
        << "-ADDRESS-- [status=" << statusOk_ << ",upToDate=" << setupDone_ << "]\n";
    if (!statusOk_ && statusError_) {
        out << prefix << ">>>";
        statusError_->print(out);
        out << "<<<\n";
    }
    listAttributes(out, prefix);
    out << prefix << "    calculated parameters \n";
    printCalculatedParameters(out, prefix + "        ");
    listPoints(out, prefix);
}

void QelTransform::listAttributes(std::ostream & out, std::string const & prefix) const {
    out << prefix << "    attributes " << getNumAttributes() << '\n';
    for (int i = 0; i < getNumAttributes(); ++i) {
        MoxSmartPtr<QelAttribute> const attribute = getAttribute(i);
        out << prefix << "        " << getAttributeName(i) << " = ";
        attribute->writeValue(out);
        out << " (locked=" << attribute->locked() << ",time=" << attribute->timestamp() << ")\n";
    }
}

void QelTransform::listPoints(std::ostream & out, std::string const & prefix) const {
    out << prefix << "    input  CPs: num(max)CPs=" << numInputs() << '(' << getMaxInputs()
        << "):\n";
    for (MoxSmartPtr<QelInputConnectionPoint> const & input : inputs_) {
        out << prefix << "        " << input->name() << ' ' << qelHexText(input.get())
            << " locked=" << input->locked() << " owner=" << input->transformLabel() << "  --> "
            << endOf(input->getConnectedOutput(false)) << '\n';
    }
    out << prefix << "    output CPs: num(max)CPs=" << numOutputs() << '(' << getMaxOutputs()
        << "):\n";
    for (MoxSmartPtr<QelOutputConnectionPoint> const & output : outputs_) {
        out << prefix << "        " << output->name() << ' ' << qelHexText(output.get())
            << " owner=" << output->transformLabel() << "  --> " << consumersOf(*output) << '\n';
        listItems(out, prefix, output->streamData());
    }
}

void QelTransform::printGraph(std::ostream & out, int flag) const {
    printGraph(out, flag, false);
}

void QelTransform::printGraph(std::ostream & out, int, bool includeDownstream) const {
    listGuarded(out, "printGraph", [&] {
        // Not through aliases: an aggregate lists its members itself.
        QelConstGraphIterator i(this, false, includeDownstream);
        for (; !i.done(); i.next()) {
            i.current()->listConnections(out);
            i.current()->printTransform(out, "");
        }
        if (i.isCyclic()) out << "GRAPH IS CYCLIC\n";
    });
}

bool QelTransform::printGraph(std::string const & fileName, int flag) const {
    std::ofstream file(fileName);
    if (file) printGraph(file, flag);
    file.close();
    return !file.fail();
}

void QelTransform::listConnections(std::ostream & out) const {
    for (MoxSmartPtr<QelInputConnectionPoint> const & input : inputs_)
        out << input->name() << '(' << endOf(input->getConnectedOutput(false)) << ") ";
    out << " --->    " << label_ << " --->    ";
    for (MoxSmartPtr<QelOutputConnectionPoint> const & output : outputs_)
        out << ' ' << output->name() << '(' << consumersOf(*output) << ')';
    out << '\n';
}

// ---- Attributes

void QelTransform::attributeChangedPropagate(MoxSmartPtr<QelAttribute> const &) {
    markOutOfDate(true);
}

void QelTransform::attributeChangedLocal(MoxSmartPtr<QelAttribute> const &) {
    markOutOfDate(true);
}

bool QelTransform::addAttribute(MoxSmartPtr<QelAttribute> attribute, bool propagate) {
    if (!attribute) return false;
    std::string name = attribute->name();
    return addAttribute(std::move(attribute), propagate, std::move(name));
}

bool QelTransform::addAttribute(MoxSmartPtr<QelAttribute> attribute, bool propagate,
                                std::string name) {
    if (!attribute) return false;
    auto const action =
        propagate ? &QelTransform::attributeChangedPropagate : &QelTransform::attributeChangedLocal;
    // Made ahead of the registration, after which nothing may fail.
    auto callback = std::make_unique<QelAttributeChangedRegistration<QelTransform>>(this, action);
    QelAttributeChangedCallback const * const added = callback.get();
    attribute->addCallback(std::move(callback));
    try {
        if (QelAttributeBased::addAttribute(attribute, std::move(name))) return true;
    } catch (...) {
        attribute->removeCallback(added);
        throw;
    }
    attribute->removeCallback(added);
    return false;
}

void QelTransform::badAttribute(std::string_view name, std::type_info const * wanted) const {
    std::string text = "Transform class " + getClassName() + " does not have an attribute named " +
                       std::string(name);
    MoxSmartPtr<QelAttribute> const found = getAttribute(name);
    if (found && wanted != nullptr) {
        text += std::string(" of type ") + QelCoreMisc::typeNameOf(*wanted) +
                "\n     The attribute has type " + QelCoreMisc::typeNameOf(found->getType());
    }
    qelRaise(QelErrorCode::misuse, text);
}

// ---- What outputs deliver

MoxSmartPtr<QelXyCoordSpace> QelTransform::getCoordSpace(int outputIndex) {
    update();
    MoxSmartPtr<QelOutputConnectionPoint> const output = getOutputCP(outputIndex);
    auto const * const image = dynamic_cast<QelImageOutputCP const *>(output.get());
    if (image == nullptr) {
        qelRaise(QelErrorCode::notAnImage,
                 "Requested the CoordSpace of output connection point with index " +
                     std::to_string(outputIndex) + " of transform " + describe() +
                     " which is not an image connection point; it has type " +
                     output->getClassName());
    }
    return image->getCoordSpace();
}

bool QelTransform::isInputNeeded(int, int) const {
    return true;
}

MoxSmartPtr<QelImageOp> QelTransform::determineOp(QelTileId const &, int) const {
    return nullptr;
}
