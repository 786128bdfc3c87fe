#pragma once

#include <string>

#include "QelExport.h"

// The owner of a container of rendered items: a connection point of a transform. Only for messages;
// the pixel store knows nothing else of graphs.
class QEL_API QelItemOwner {
  public:
    virtual ~QelItemOwner();

    virtual std::string transformLabel() const = 0;
    virtual std::string connectionPointName() const = 0;
};
