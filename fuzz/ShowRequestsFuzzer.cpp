// Whatever a local client sends the running instance, in whatever pieces the
// socket delivers it: the number of requests is that of the lines that are
// exactly the request, however the bytes are cut.
#include "app/ShowRequests.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    int lines = 0;
    for (std::size_t start = 0, end; (end = bytes.find('\n', start)) != std::string_view::npos; start = end + 1)
        lines += bytes.substr(start, end + 1 - start) == showRequestLine;
    // At once, a byte at a time, and in pieces of a size the first byte picks.
    const std::size_t pieceSizes[] = {std::max<std::size_t>(size, 1), 1, size ? data[0] % 7 + 1u : 1};
    for (const std::size_t piece : pieceSizes) {
        ShowRequestReader reader;
        int requests = 0;
        for (std::size_t at = 0; at < size; at += piece) requests += reader.feed(bytes.substr(at, piece));
        if (requests != lines) std::abort();
    }
    return 0;
}
