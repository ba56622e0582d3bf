#include "model/MacDayBlockJson.h"

#include "base/Text.h"

#include <simdjson.h>

#include <algorithm>
#include <future>
#include <new>
#include <iterator>
#include <thread>

namespace plenda {

namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

struct Failure {
    std::string reason;
};

// The raw text of a string value; nothing for null.
std::optional<std::string_view> optionalText(element value, std::string_view name) {
    if (value.is_null()) return std::nullopt;
    std::string_view text;
    if (value.get_string().get(text)) throw Failure{"\"" + std::string(name) + "\" is not a string"};
    return text;
}

std::optional<std::string> optionalString(element value, std::string_view name) {
    const auto text = optionalText(value, name);
    if (!text) return std::nullopt;
    return nfc(*text);
}

std::optional<Date> optionalDate(element value, std::string_view name) {
    double seconds;
    if (!value.get_double().get(seconds)) return Date(seconds);
    if (value.is_null()) return std::nullopt;
    throw Failure{"\"" + std::string(name) + "\" is not a number"};
}

MacDayBlock readBlock(element value) {
    simdjson::dom::object object;
    if (value.get_object().get(object)) throw Failure{"a block is not a JSON object"};

    std::optional<Uuid> id;
    std::optional<std::string> title, blockType, note;
    std::optional<MacBlockCategory> category;
    std::optional<double> weight;
    std::optional<Date> createdAt, startDate, endDate, modifiedAt;

    for (auto field : object) {
        const std::string_view key = field.key;
        if (key == "id") {
            const auto text = optionalText(field.value, key);
            if (!text) throw Failure{"\"id\" is null"};
            id = Uuid::parse(*text);
            if (!id) throw Failure{"\"id\" is not a UUID: " + std::string(*text)};
        } else if (key == "title") {
            title = optionalString(field.value, key);
        } else if (key == "category") {
            if (const auto text = optionalText(field.value, key)) {
                category = categoryFromRawValue(*text);
                if (!category) throw Failure{"unknown category \"" + std::string(*text) + "\""};
            }
        } else if (key == "weight") {
            double minutes;
            if (field.value.get_double().get(minutes)) throw Failure{"\"weight\" is not a number"};
            weight = minutes;
        } else if (key == "note") {
            note = optionalString(field.value, key);
        } else if (key == "createdAt") {
            createdAt = optionalDate(field.value, key);
        } else if (key == "startDate") {
            startDate = optionalDate(field.value, key);
        } else if (key == "endDate") {
            endDate = optionalDate(field.value, key);
        } else if (key == "blockType") {
            blockType = optionalString(field.value, key);
        } else if (key == "modifiedAt") {
            modifiedAt = optionalDate(field.value, key);
        }
    }

    auto require = [](bool present, const char* name) {
        if (!present) throw Failure{std::string("missing \"") + name + "\""};
    };
    require(id.has_value(), "id");
    require(title.has_value(), "title");
    require(category.has_value(), "category");
    require(weight.has_value(), "weight");
    require(createdAt.has_value(), "createdAt");
    require(blockType.has_value(), "blockType");

    return MacDayBlock{*id,        std::move(*title), *category, *weight,   std::move(note),
                       *createdAt, startDate,         endDate,   std::move(*blockType), modifiedAt};
}

// One parser per thread keeps its buffers between documents.
simdjson::dom::parser& threadParser() {
    thread_local simdjson::dom::parser parser;
    return parser;
}

simdjson::simdjson_result<element> parse(std::string_view json, std::size_t capacity) {
    // Parse in place when the buffer has the parser's padding after the end.
    if (capacity >= json.size() + simdjson::SIMDJSON_PADDING)
        return threadParser().parse(json.data(), json.size(), false);
    return threadParser().parse(simdjson::padded_string(json));
}

template <typename Read>
auto decode(std::string_view json, std::size_t capacity, std::string* error, Read read)
    -> decltype(read(element{})) {
    element root;
    if (const auto code = parse(json, capacity).get(root)) {
        // Not the file's fault: the caller must not take it for a broken one.
        if (code == simdjson::MEMALLOC) throw std::bad_alloc();
        if (error) *error = std::string("not valid JSON: ") + simdjson::error_message(code);
        return std::nullopt;
    }
    try {
        return read(root);
    } catch (const Failure& failure) {
        if (error) *error = failure.reason;
        return std::nullopt;
    }
}

}  // namespace

void writeBlock(JsonWriter& writer, const MacDayBlock& block) {
    writer.beginObject();
    writer.key("id");
    writer.string(block.id.string());
    writer.key("title");
    writer.string(block.title);
    writer.key("category");
    writer.string(rawValue(block.category));
    writer.key("weight");
    writer.number(block.weight);
    if (block.note) {
        writer.key("note");
        writer.string(*block.note);
    }
    writer.key("createdAt");
    writer.number(block.createdAt.seconds);
    if (block.startDate) {
        writer.key("startDate");
        writer.number(block.startDate->seconds);
    }
    if (block.endDate) {
        writer.key("endDate");
        writer.number(block.endDate->seconds);
    }
    writer.key("blockType");
    writer.string(block.blockType);
    if (block.modifiedAt) {
        writer.key("modifiedAt");
        writer.number(block.modifiedAt->seconds);
    }
    writer.endObject();
}

std::optional<std::string> encodeBlock(const MacDayBlock& block) {
    JsonWriter writer;
    writeBlock(writer, block);
    if (!writer.ok()) return std::nullopt;
    return writer.take();
}

std::optional<std::string> encodeBlocks(const std::vector<MacDayBlock>& blocks) {
    JsonWriter writer;
    writer.text().reserve(blocks.size() * 260);
    writer.beginArray();
    for (const MacDayBlock& block : blocks) writeBlock(writer, block);
    writer.endArray();
    if (!writer.ok()) return std::nullopt;
    return writer.take();
}

std::optional<MacDayBlock> decodeBlock(std::string_view json, std::string* error) {
    return decode(json, 0, error, [](element root) -> std::optional<MacDayBlock> { return readBlock(root); });
}

std::optional<std::vector<MacDayBlock>> decodeBlocks(std::string_view json, std::string* error) {
    return decodeBlocks(json, 0, error);
}

namespace {

std::optional<std::vector<MacDayBlock>> decodeWhole(std::string_view json, std::size_t capacity,
                                                    std::string* error) {
    return decode(json, capacity, error, [](element root) -> std::optional<std::vector<MacDayBlock>> {
        simdjson::dom::array array;
        if (root.get_array().get(array)) throw Failure{"the top level is not a JSON array"};
        std::vector<MacDayBlock> blocks;
        blocks.reserve(array.size());
        std::size_t index = 0;
        for (element value : array) {
            try {
                blocks.push_back(readBlock(value));
            } catch (const Failure& failure) {
                throw Failure{"block " + std::to_string(index) + ": " + failure.reason};
            }
            ++index;
        }
        return blocks;
    });
}

bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

// The first place at or after `from` where one element of the top-level
// array ends and the next begins: "}", blanks, ",", blanks, "{". Inside a
// string the same bytes may appear; a cut there only makes a piece invalid.
std::size_t nextElementBoundary(std::string_view json, std::size_t from) {
    for (std::size_t i = json.find('}', from); i != std::string_view::npos; i = json.find('}', i + 1)) {
        std::size_t j = i + 1;
        while (j < json.size() && isBlank(json[j])) ++j;
        if (j >= json.size() || json[j] != ',') continue;
        ++j;
        while (j < json.size() && isBlank(json[j])) ++j;
        if (j < json.size() && json[j] == '{') return i + 1;
    }
    return std::string_view::npos;
}

// A large file decodes on several cores: the array is cut between elements
// into pieces that each decode as an array of their own. The pieces are
// valid exactly when the whole is, so any failure falls back to decoding the
// whole, which also gives the precise reason.
std::optional<std::vector<MacDayBlock>> decodeInPieces(std::string_view json, unsigned pieces) {
    std::size_t first = 0, last = json.size();
    while (first < last && isBlank(json[first])) ++first;
    while (last > first && isBlank(json[last - 1])) --last;
    if (last - first < 2 || json[first] != '[' || json[last - 1] != ']') return std::nullopt;
    const std::string_view inner = json.substr(first + 1, last - first - 2);

    std::vector<std::string_view> parts;
    std::size_t begin = 0;
    for (unsigned k = 1; k < pieces; ++k) {
        const std::size_t cut = nextElementBoundary(inner, std::max(begin, inner.size() * k / pieces));
        if (cut == std::string_view::npos) break;
        parts.push_back(inner.substr(begin, cut - begin));
        begin = inner.find('{', cut);  // skips the blanks and the comma
    }
    parts.push_back(inner.substr(begin));

    std::vector<std::future<std::optional<std::vector<MacDayBlock>>>> decoding;
    for (std::string_view part : parts) {
        decoding.push_back(std::async(std::launch::async, [part] {
            std::string piece;
            piece.reserve(part.size() + 2 + simdjson::SIMDJSON_PADDING);
            piece.push_back('[');
            piece.append(part);
            piece.push_back(']');
            return decodeWhole(piece, piece.capacity(), nullptr);
        }));
    }
    std::vector<std::optional<std::vector<MacDayBlock>>> decoded;
    for (auto& future : decoding) decoded.push_back(future.get());
    std::size_t total = 0;
    for (const auto& piece : decoded) {
        if (!piece) return std::nullopt;
        total += piece->size();
    }
    std::vector<MacDayBlock> blocks;
    blocks.reserve(total);
    for (auto& piece : decoded) std::move(piece->begin(), piece->end(), std::back_inserter(blocks));
    return blocks;
}

constexpr std::size_t parallelDecodeThreshold = 4 << 20;  // bytes

}  // namespace

std::optional<std::vector<MacDayBlock>> decodeBlocks(std::string_view json, std::size_t capacity,
                                                     std::string* error) {
    const unsigned cores = std::min(4u, std::thread::hardware_concurrency());
    if (json.size() >= parallelDecodeThreshold && cores > 1) {
        if (auto blocks = decodeInPieces(json, cores)) return blocks;
    }
    return decodeWhole(json, capacity, error);
}

}  // namespace plenda
