#include "QelCpu.h"

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

// The features that the kernel reports of the first processor.
std::set<std::string> reportedFeatures() {
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line)) {
        if (line.rfind("flags", 0) != 0) continue;
        std::istringstream words(line.substr(line.find(':') + 1));
        std::set<std::string> features;
        for (std::string word; words >> word;)
            features.insert(word);
        return features;
    }
    return {};
}

}  // namespace

TEST(QelCpuTest, TheFirstSetIsBestWhereThereIsNoOther) {
#if defined(QEL_KERNELS_V3)
#error these tests are compiled for one set
#endif
    static constexpr int baseline = 1, v3 = 2;
    EXPECT_EQ(&baseline, (qelBestKernels<&baseline, &v3>()));
}

TEST(QelCpuTest, HasV3ExactlyIfTheKernelReportsAllItsFeatures) {
    std::set<std::string> const features = reportedFeatures();
    if (features.empty()) GTEST_SKIP() << "this system does not report features";
    bool all = true;
    for (char const * const feature :
         {"avx", "avx2", "bmi1", "bmi2", "f16c", "fma", "abm", "movbe"}) {
        all = all && features.count(feature) != 0;
    }
    EXPECT_EQ(all, qelCpuHasV3());
}
