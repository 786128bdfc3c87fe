#include "QelContainerBase.h"

QelContainerBase::~QelContainerBase() = default;

void QelContainerBase::workDone(int) {}

std::string QelContainerBase::description() const {
    return "Unknown 2D Image Container Type";
}
