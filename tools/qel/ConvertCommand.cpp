#include <atomic>
#include <csignal>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Arguments.h"
#include "CommandLine.h"
#include "Commands.h"
#include "Picture.h"
#include "Pipeline.h"
#include "Region.h"

namespace {

struct Arguments {
    std::string in;
    std::string out;
    std::vector<std::string> ops;
    std::optional<std::string> region;
    std::optional<std::string> tile;
    bool stats = false;
    std::int64_t maxBytes = QelReadLimits().maxBytes;
    std::optional<std::string> memoryLimit;
};

// While it lives, all pixel memory comes from a recycling manager, if the user wants that. Made
// before all images, so that it is destroyed after them.
class RecycledMemory {
  public:
    explicit RecycledMemory(std::optional<std::uint64_t> const & limit) {
        if (!limit) return;
        manager_ = new QelVirtualMemoryManager(*limit);
        QelMemoryManager::setDefaultManager(manager_);
    }
    RecycledMemory(RecycledMemory const &) = delete;
    RecycledMemory & operator=(RecycledMemory const &) = delete;
    ~RecycledMemory() { QelMemoryManager::clearDefaultManager(); }

    void printStatistics() const {
        if (!manager_) return;
        QelVirtualMemoryManager::Counters const counters = manager_->counters();
        std::cout << "recycled memory: " << counters.totalBytes << " bytes held, limit "
                  << counters.limit << ", " << counters.blocksMade << " blocks made, "
                  << counters.blocksReused << " times reused\n";
    }

  private:
    MoxSmartPtr<QelVirtualMemoryManager> manager_;
};

std::atomic<bool> interrupted{false};

// An interrupted run must leave no temporary file, so the writer is asked to stop.
void stopWhenInterrupted() {
    auto const handler = [](int) { interrupted.store(true); };
    for (int const signal : {SIGHUP, SIGINT, SIGTERM})
        std::signal(signal, handler);
}

void setTileSize(std::string const & text) {
    PixelSize const size = parseSize(text, "--tile", 16, 8192);
    QelSystemConfig::defaultTileWidth = size.width;
    QelSystemConfig::defaultTileHeight = size.height;
    QelSystemConfig::minTileWidth = QelSystemConfig::maxTileWidth = size.width;
    QelSystemConfig::minTileHeight = QelSystemConfig::maxTileHeight = size.height;
}

Picture openInput(Arguments const & arguments) {
    QelReadLimits limits;
    limits.maxBytes = arguments.maxBytes;
    return openPicture(arguments.in, limits);
}

using Images = std::vector<MoxSmartPtr<Qel2DImage>>;

void printStatistics(Images const & images, Arguments const & arguments) {
    std::cout << std::right << std::setw(14) << "tiles in grid" << std::setw(16) << "tiles computed"
              << std::setw(17) << "pixels computed" << std::setw(15) << "pixels copied"
              << "  image\n";
    for (std::size_t i = 0; i < images.size(); ++i) {
        Qel2DImage const & image = *images[i];
        Qel2DImage::Statistics const done = image.statistics();
        std::cout << std::setw(14) << std::int64_t{image.tilesAcross()} * image.tilesDown()
                  << std::setw(16) << done.tilesComputed << std::setw(17) << done.pixelsComputed
                  << std::setw(15) << done.pixelsCopied << "  "
                  << (i == 0 ? arguments.in : arguments.ops[i - 1]) << '\n';
    }
    std::cout << "peak bytes of pixel buffers: " << QelSystemConfig::peakBytes << '\n';
}

void convert(Arguments const & arguments) {
    // Everything that can be refused without opening a file comes first.
    std::vector<QelTransformCatalog::Call> const calls = parseOps(arguments.ops);
    Region region;
    if (arguments.region) region = Region(*arguments.region, "--region");
    std::optional<std::uint64_t> memoryLimit;
    if (arguments.memoryLimit) {
        memoryLimit = parseBytes(*arguments.memoryLimit, "--memory-limit");
    }
    if (arguments.tile) setTileSize(*arguments.tile);
    QelWriteOptions options;
    options.cancelled = &interrupted;
    QelPictureWriter const checked(arguments.out, options);

    stopWhenInterrupted();
    RecycledMemory const memory(memoryLimit);
    Picture const picture = openInput(arguments);
    remarkOnResolution(picture, region);
    Pipeline const pipeline(picture.source, calls);
    Images const images = pipeline.images();
    Qel2DImage & result = *images.back();
    if (picture.hasResolution) {
        options.horzResolution = picture.space->getResolution(0).horz;
        options.vertResolution = picture.space->getResolution(0).vert;
    }
    QelPictureWriter const writer(arguments.out, options);
    writer.write(result, region.isAll() ? result.imageRect() : region.pixelsOf(picture));
    if (!arguments.stats) return;
    printStatistics(images, arguments);
    memory.printStatistics();
}

}  // namespace

void addConvertCommand(CommandLine & tool) {
    Command command =
        tool.add("convert",
                 "Apply operations to a picture, or a part of it, and write the result to a file");
    auto const arguments = std::make_shared<Arguments>();
    command.required("IN", arguments->in,
                     "JPEG or PNG file, or the built-in picture: @testcard, @testcard:WxH");
    command.required("OUT", arguments->out, "file to write, ending in .png, .jpg or .jpeg");
    command.rest("OP", arguments->ops,
                 "operations in order, as OP[:NAME=VALUE[,NAME=VALUE]...]; \"qel ops\" "
                 "lists them");
    command.option("--region", arguments->region, "X,Y,W,H",
                   "compute only this part of the result, in pixels or as \"1 inches,0.5 "
                   "normalized units,...\"");
    command.option("--tile", arguments->tile, "WxH", "size of tiles in pixels, 16 to 8192");
    command.flag("--stats", arguments->stats, "report what each image computed and copied");
    command.option("--max-bytes", arguments->maxBytes, "N",
                   "refuse pictures that take more memory than this");
    command.option("--memory-limit", arguments->memoryLimit, "BYTES",
                   "recycle pixel memory; above this limit, as in 64MB or 64MiB, unused memory "
                   "goes back to the system");
    command.runs([arguments] { convert(*arguments); });
}
