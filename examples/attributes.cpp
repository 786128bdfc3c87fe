// A client's own class whose values are attributes: code that sets them need not know the class,
// objects that depend on them are notified of each change, and they can be stored as text.

#include <iostream>
#include <sstream>

#include "QelClients.h"

namespace {

using Number = QelSimpleAttribute<double>;
using Colour = QelSimpleAttribute<QelColor>;

// Any type that has stream operators will do.
enum class Tip { round, flat };

std::ostream & operator<<(std::ostream & out, Tip tip) {
    return out << (tip == Tip::round ? "round" : "flat");
}

std::istream & operator>>(std::istream & in, Tip & tip) {
    std::string name;
    if (in >> name) tip = name == "round" ? Tip::round : Tip::flat;
    return in;
}

// A brush. Its area is computed on demand, once for each radius.
class Brush : public QelAttributeBased {
  public:
    Brush() {
        MoxSmartPtr<Number> const radius(new Number("radius", 1.0));
        radius->addCallback(
            std::make_unique<QelAttributeChangedRegistration<Brush>>(this, &Brush::radiusChanged));
        addAttribute(radius);
        addAttribute(new Colour("colour", QelColor(new QelRGBColorSpace(), 255.0, 128.0, 0.0)));
        addAttribute(new QelSimpleAttribute<Tip>("tip", Tip::flat));
    }
    // A copy has its own attributes, and its own radius notifies the copy.
    Brush(Brush const &) = default;

    double area() {
        if (area_ < 0.0) {
            double const radius = Number::of(getAttribute("radius"))->getValue();
            area_ = 3.14159265358979323846 * radius * radius;
            ++computed;
        }
        return area_;
    }

    int computed = 0;

  private:
    void radiusChanged(MoxSmartPtr<QelAttribute> const &) { area_ = -1.0; }

    double area_ = -1.0;
};

// "name = value", a line for each attribute.
std::string textOf(Brush const & brush) {
    std::ostringstream text;
    for (int i = 0; i < brush.getNumAttributes(); ++i) {
        text << brush.getAttributeName(i) << " = ";
        brush.getAttribute(i)->writeValue(text);
        text << '\n';
    }
    return text.str();
}

}  // namespace

int main() {
    MoxSmartPtr<Brush> const brush(new Brush());
    MoxSmartPtr<QelAttribute> const radius = brush->getAttribute("radius");
    brush->area();
    brush->area();
    std::istringstream text("2.5");
    radius->readValue(text);  // as text, or by Number::setValue()
    std::cout << "area " << brush->area() << ", computed " << brush->computed << " times\n";

    MoxSmartPtr<Brush> const copy(new Brush(*brush));
    Number::of(copy->getAttribute("radius"))->setValue(1.0);
    std::cout << "copy " << copy->area() << ", original " << brush->area() << '\n';

    // While a value is locked, it cannot change.
    radius->lock();
    try {
        Number::of(radius)->setValue(9.0);
    } catch (ZanError const & error) {
        std::cout << "error " << error.getErrcode() << '\n';
    }
    radius->unlock();

    std::cout << textOf(*brush);
    return brush->computed == 2 && copy->area() < brush->area() &&
                   textOf(*brush) ==
                       "radius = 2.5\n"
                       "colour = QelColor[QelRGBColorSpace[b=3, min=0, max=255]:<255,128,0>]\n"
                       "tip = flat\n"
               ? 0
               : 1;
}
