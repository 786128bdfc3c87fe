#include "QelItemOwner.h"

QelItemOwner::~QelItemOwner() = default;
