// Converts positions on paper to pixels and back, on a page of 8.5 by 11 inches that exists at 300
// dots per inch and at any other resolution.

#include <iostream>

#include "QelClients.h"

int main() {
    QelXyCoordSpace page(inches(8.5), inches(11));
    page.addResolution({QelResolution(300, QEL_UNIT_INCH), QelResolution(300, QEL_UNIT_INCH)});
    page.addResolution(QelXyCoordSpace::Resolution());  // both halves arbitrary: also any other

    // Pixels are those of the selected resolution. An arbitrary row takes any request.
    page.selectResolution(2550, 3300);
    QelValue const place = page.convertHorzPosition(centimeters(2.5), QEL_UNIT_PIXEL);
    QelValue const pixel = page.convertHorzPosition(centimeters(2.5), QEL_UNIT_PIXEL, true);
    QelValue const centre = page.convertHorzPosition(pixel, QEL_UNIT_INCH, true);
    std::cout << place << "; " << pixel << ", whose centre is at " << centre << '\n';

    page.selectResolution(85, 110);  // ten dots per inch
    QelValue const coarse = page.convertHorzPosition(centimeters(2.5), QEL_UNIT_PIXEL, true);
    std::cout << coarse << " at " << page.selectedResolution().horz.dpu << " dots per inch\n";

    // A region keeps its unit and is clipped to the page. Its pixels are those whose centres it
    // contains.
    QelXySimpleRegion const margin(&page, inches(7.5), inches(0), inches(2), inches(11));
    QelRect const pixels = margin.pixelBounds();
    std::cout << margin.width(QEL_UNIT_CENTIMETER) << " wide, pixels " << pixels << '\n';

    return pixel.value() == 294 && pixels == QelRect(75, 0, 10, 110) ? 0 : 1;
}
