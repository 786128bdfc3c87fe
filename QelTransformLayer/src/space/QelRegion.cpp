#include "QelRegion.h"

QelRegion::~QelRegion() = default;
