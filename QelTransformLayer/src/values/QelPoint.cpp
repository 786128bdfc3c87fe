#include "QelPoint.h"

QelPoint::~QelPoint() = default;
