// Numbers as the block file, the settings and the command line carry them:
// text that parseDecimal accepts reads as the C++ library reads it, and every
// finite double (the input's bytes taken eight at a time) is written, the
// same by either way of writing, as text that parseDecimal reads back as
// exactly that double, and as JSON that the block file's reader reads back
// as an equal one.
#include "FuzzInput.h"
#include "base/JsonWriter.h"
#include "base/NumberText.h"

#include <simdjson.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

bool same(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }  // -0 is not 0

void roundTrip(double value) {
    using namespace plenda;
    const std::string text = shortestText(value);
    const auto back = parseDecimal(text);
    if (!back || !same(*back, value) || shortestTextByDigits(value) != text) std::abort();
    // As the block file writes it: its reader takes "-0" for the integer 0,
    // equal if not the same bits.
    JsonWriter writer;
    writer.number(value);
    thread_local simdjson::dom::parser json;
    double read;
    if (json.parse(simdjson::padded_string(writer.take())).get_double().get(read) || read != value) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto parsed = parseDecimal(text);
#if __cpp_lib_to_chars >= 201611L
    // The same grammar as the library's, less infinity and NaN; an underflow
    // the library refuses reads as zero or a subnormal here.
    double expected;
    const auto [end, error] = std::from_chars(text.data(), text.data() + size, expected);
    if (error == std::errc() && std::isfinite(expected) &&
        ((end == text.data() + size) != parsed.has_value() || (parsed && !same(*parsed, expected))))
        std::abort();
#endif
    if (parsed) roundTrip(*parsed);
    for (plenda::FuzzInput input(data, size); !input.empty();)
        if (const double value = input.number(); std::isfinite(value)) roundTrip(value);
    return 0;
}
