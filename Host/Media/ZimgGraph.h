// One zimg filter graph and the scratch memory it runs in, built as FFmpeg's zscale filter builds
// its graph with `filter=lanczos` (chroma by Lanczos, no dither), so that zscale reproduces it.
// A graph zimg cannot build throws std::runtime_error with zimg's reason.
#pragma once

#include <zimg.h>

#include <memory>

#include "AlignedBuffer.h"

namespace fxhost {

class ZimgGraph {
public:
    ZimgGraph(const zimg_image_format& from, const zimg_image_format& to);

    // Lines the source and destination rings must hold when a callback feeds or drains them.
    unsigned inputLines() const;
    unsigned outputLines() const;

    // Throws std::runtime_error when zimg or a callback fails.
    void process(const zimg_image_buffer_const& from, const zimg_image_buffer& to,
                 zimg_filter_graph_callback unpack = nullptr, void* unpackUser = nullptr,
                 zimg_filter_graph_callback pack = nullptr, void* packUser = nullptr);

private:
    struct Free {
        void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
    };
    std::unique_ptr<zimg_filter_graph, Free> mGraph;
    AlignedBuffer mScratch;
};

}  // namespace fxhost
