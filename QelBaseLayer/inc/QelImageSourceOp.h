#pragma once

#include <utility>
#include <vector>

#include "QelImageOp.h"

// Base of ops that read a source which exists in several resolutions. The concrete source fills
// the list and implements the two operations of QelImageOp.
class QEL_API QelImageSourceOp : public QelImageOp {
  public:
    QelImageSourceOp();
    ~QelImageSourceOp() override;

    virtual int resolutionCount() const;
    // The index of the resolution of w by h pixels, or -1.
    virtual int findResolution(std::int32_t w, std::int32_t h) const;
    // False, and zeros, when `i` is out of range.
    virtual bool getResolution(int i, std::int32_t & w, std::int32_t & h) const;
    // False when w by h is not listed. A change of the selected resolution discards the report.
    virtual bool selectResolution(std::int32_t w, std::int32_t h);
    // Zeros when nothing is listed.
    virtual void selectedResolution(std::int32_t & w, std::int32_t & h) const;

  protected:
    // Width and height in pixels. Requires: called before the op is shared.
    void setResolutions(std::vector<std::pair<std::int32_t, std::int32_t>> resolutions,
                        int selected = 0);
    int selected() const { return selected_; }

  private:
    std::vector<std::pair<std::int32_t, std::int32_t>> resolutions_;
    int selected_ = 0;
};
