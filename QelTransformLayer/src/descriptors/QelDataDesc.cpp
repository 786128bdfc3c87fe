#include "QelDataDesc.h"

QelDataDesc::~QelDataDesc() = default;
