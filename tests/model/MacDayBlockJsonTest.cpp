#include "model/BlockFilePieces.h"
#include "model/MacDayBlockJson.h"

#include <gtest/gtest.h>
#include <simdjson.h>

#include <map>

namespace plenda {
namespace {

const char* const validId = "E621E1F8-C36C-495A-93FC-0C247A3E6E5F";

MacDayBlock fullBlock() {
    return MacDayBlock{*Uuid::parse(validId), "Xcode", MacBlockCategory::selfCare, 28.5,
                       "Logged automatically on Mac", Date(700000000.123456), Date(700000000.123456),
                       Date(700001710.5), "tracked", Date(700001711.000001)};
}

// A valid object of the six required keys; `changes` replaces or adds keys,
// and an empty value leaves the key out.
std::string object(const std::map<std::string, std::string>& changes = {}) {
    std::map<std::string, std::string> fields = {
        {"id", std::string("\"") + validId + "\""}, {"title", "\"Xcode\""},      {"category", "\"work\""},
        {"weight", "12.5"},                         {"createdAt", "700000000"}, {"blockType", "\"tracked\""}};
    for (const auto& [key, value] : changes) fields[key] = value;
    std::string json;
    for (const auto& [key, value] : fields) {
        if (!value.empty()) json += (json.empty() ? "{\"" : ",\"") + key + "\":" + value;
    }
    return json + "}";
}

TEST(BlockJson, RoundTripKeepsEveryFieldToTheBitWritesNoNullAndNoInfinityAndReadsOtherWriters) {
    MacDayBlock full = fullBlock();
    full.weight = 0.1 + 0.2;
    full.createdAt = Date(123456789.98765432);
    full.title = "He said \"hi\"\\\n\t\x01 \xE2\x80\x94 caf\xC3\xA9";
    MacDayBlock minimal = fullBlock();
    minimal.note.reset();
    minimal.startDate.reset();
    minimal.endDate.reset();
    minimal.modifiedAt.reset();
    for (const MacDayBlock& block : {full, minimal}) {
        const auto json = encodeBlock(block);
        ASSERT_TRUE(json);
        EXPECT_EQ(json->find('\n'), std::string::npos);
        EXPECT_EQ(json->find("null"), std::string::npos);
        EXPECT_NE(json->find("\"category\":\"self\""), std::string::npos);
        EXPECT_EQ(decodeBlock(*json), block);
    }
    simdjson::dom::parser parser;
    EXPECT_EQ(simdjson::dom::object(parser.parse(*encodeBlock(minimal))).size(), 6u);
    // JSON has no infinity: such a block cannot be written, nor a list holding it.
    full.weight = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(encodeBlock(full));
    EXPECT_FALSE(encodeBlocks({minimal, full}));
    // Other writers may store whole seconds and decomposed titles.
    const auto block = decodeBlock(object({{"title", "\"Cafe\xCC\x81\""}}));
    ASSERT_TRUE(block);
    EXPECT_EQ(block->createdAt, Date(700000000));
    EXPECT_EQ(block->title, "Caf\xC3\xA9");
}

struct DecodeCase {
    const char* name;
    std::string json;
    bool decodes;
};

class BlockDecoding : public ::testing::TestWithParam<DecodeCase> {};

TEST_P(BlockDecoding, FollowsTheStrictRules) {
    EXPECT_EQ(decodeBlock(GetParam().json).has_value(), GetParam().decodes) << GetParam().json;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BlockDecoding,
    ::testing::Values(
        DecodeCase{"minimal", object(), true},
        DecodeCase{"extraKeyIgnored", object({{"colour", "\"red\""}}), true},
        DecodeCase{"nullOptionals",
                   object({{"startDate", "null"}, {"note", "null"}, {"endDate", "null"}, {"modifiedAt", "null"}}), true},
        DecodeCase{"lowerCaseId", object({{"id", "\"e621e1f8-c36c-495a-93fc-0c247a3e6e5f\""}}), true},
        DecodeCase{"missingBlockType", object({{"blockType", ""}}), false},
        DecodeCase{"missingWeight", object({{"weight", ""}}), false},
        DecodeCase{"missingId", object({{"id", ""}}), false},
        DecodeCase{"missingCreatedAt", object({{"createdAt", ""}}), false},
        DecodeCase{"nullTitle", object({{"title", "null"}}), false},
        DecodeCase{"weightAsString", object({{"weight", "\"12\""}}), false},
        DecodeCase{"dateAsString", object({{"startDate", "\"2023-01-01\""}}), false},
        DecodeCase{"noteAsNumber", object({{"note", "5"}}), false},
        DecodeCase{"badId", object({{"id", "\"not-a-uuid\""}}), false},
        DecodeCase{"categoryCaseName", object({{"category", "\"selfCare\""}}), false},
        DecodeCase{"categoryCapitalised", object({{"category", "\"Self\""}}), false},
        DecodeCase{"keyCaseMatters", object({{"title", ""}, {"Title", "\"Xcode\""}}), false},
        DecodeCase{"notAnObject", "[1,2]", false},
        DecodeCase{"truncated", object().substr(0, 40), false},
        DecodeCase{"empty", "", false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(BlockJson, ListsDecodeAllOrNothingFromAnyBuffer) {
    const std::string good = object(), bad = object({{"weight", ""}});
    EXPECT_EQ(decodeBlocks("[" + good + "," + good + "]")->size(), 2u);
    EXPECT_EQ(decodeBlocks("[]")->size(), 0u);
    std::string error;
    EXPECT_FALSE(decodeBlocks("[" + good + "," + bad + "]", &error));
    EXPECT_NE(error.find("block 1"), std::string::npos) << error;
    EXPECT_FALSE(decodeBlocks(good));

    // A buffer with room after the end is parsed where it is; a short capacity falls back to a padded copy.
    const std::string json = "[" + *encodeBlock(fullBlock()) + "]";
    std::string roomy;
    roomy.reserve(json.size() + 64);
    roomy = json;
    ASSERT_GE(roomy.capacity(), roomy.size() + 64);
    EXPECT_EQ(decodeBlocks(roomy, roomy.capacity(), nullptr), std::vector{fullBlock()});
    EXPECT_EQ(decodeBlocks(json, json.size(), nullptr), std::vector{fullBlock()});
    error.clear();
    EXPECT_FALSE(decodeBlocks(std::string_view(roomy).substr(0, 10), roomy.capacity(), &error));
    EXPECT_FALSE(error.empty());
}

// Titles come from other programs' windows and from web addresses; bytes
// that are not UTF-8 must not make the block file unreadable.
struct Utf8Case {
    const char* name;
    std::string written;
    std::string readBack;
};

class BlockJsonUtf8 : public ::testing::TestWithParam<Utf8Case> {};

TEST_P(BlockJsonUtf8, FileStaysReadableAndValidTextIsKept) {
    MacDayBlock block = fullBlock();
    block.title = GetParam().written;
    block.note = GetParam().written;
    std::string error;
    const auto decoded = decodeBlocks(encodeBlocks({block}).value_or(""), &error);
    ASSERT_TRUE(decoded) << error;
    block.title = GetParam().readBack;
    block.note = GetParam().readBack;
    EXPECT_EQ(decoded, std::vector{block});
}

const std::string fffd = "\xEF\xBF\xBD";
INSTANTIATE_TEST_SUITE_P(
    Titles, BlockJsonUtf8,
    ::testing::Values(Utf8Case{"valid", "Caf\xC3\xA9 \xF0\x9F\x98\x80 \xE2\x80\x94 x", "Caf\xC3\xA9 \xF0\x9F\x98\x80 \xE2\x80\x94 x"},
                      Utf8Case{"loneBytes", "\xFF\xFE", fffd + fffd},
                      Utf8Case{"truncatedAtEnd", "ab\xE2\x80", "ab" + fffd + fffd},
                      Utf8Case{"overlongSlash", "\xC0\xAF", fffd + fffd},
                      Utf8Case{"overlongThreeBytes", "\xE0\x80\xAF", fffd + fffd + fffd},
                      Utf8Case{"surrogate", "\xED\xA0\x80", fffd + fffd + fffd},
                      Utf8Case{"fourBytesWithABadContinuation", "\xF1" "A\x80\x80 \xF1\x80" "A\x80 \xF1\x80\x80" "A",
                               fffd + "A" + fffd + fffd + " " + fffd + fffd + "A" + fffd + " " + fffd + fffd + fffd + "A"},
                      Utf8Case{"beyondUnicode", "\xF4\x90\x80\x80", fffd + fffd + fffd + fffd},
                      Utf8Case{"badThenGood", "\xC3(\xC3\xA9", fffd + "(\xC3\xA9"}),
    [](const auto& info) { return std::string(info.param.name); });

// Files of several megabytes decode in pieces on several cores; the result
// and the refusals must be those of decoding the whole.
TEST(BlockJson, LargeFilesDecodeAsAWholeAndRefuseABadElementAnywhere) {
    std::vector<MacDayBlock> blocks;
    for (int i = 0; i < 24000; ++i) {
        MacDayBlock block = fullBlock();
        block.id = Uuid::random();
        block.title = "Block " + std::to_string(i) + (i % 7 == 0 ? " },{\"id\": ] [" : "");
        block.createdAt = Date(700000000.0 + i * 60.0);
        blocks.push_back(block);
    }
    const std::string json = *encodeBlocks(blocks);
    ASSERT_GT(json.size(), 4u << 20);
    EXPECT_EQ(decodeBlocks(json), blocks);
    // Blanks and line breaks between elements, as other writers put them.
    std::string spaced = json;
    for (std::size_t at = spaced.find("},{\"id\""); at != std::string::npos; at = spaced.find("},{\"id\"", at + 8))
        spaced.replace(at, 3, "}\n ,\t{");
    EXPECT_EQ(decodeBlocks("  " + spaced + "\n"), blocks);

    std::string bad = json, error;
    const std::string needle = "\"title\":\"Block 20001\"";
    bad.replace(bad.find(needle), needle.size(), "\"title\":20001");
    EXPECT_FALSE(decodeBlocks(bad, &error));
    EXPECT_EQ(error, "block 20001: \"title\" is not a string");
    EXPECT_FALSE(decodeBlocks(json + ",", &error));
    EXPECT_FALSE(decodeBlocks(std::string_view(json).substr(0, json.size() - 1), &error));
}

// Read in pieces, a file gives what it gives decoded whole, or defers to
// that; a cut inside a text may defer, a plain file never does.
TEST(BlockFilePieces, GiveWhatTheWholeFileGivesOrDeferToIt) {
    std::vector<MacDayBlock> plain, tricky;
    for (int i = 0; i < 30; ++i) {
        MacDayBlock block = fullBlock();
        block.id = Uuid::random();
        plain.push_back(block);
        block.title = "a }, { title";
        tricky.push_back(block);
    }
    const std::string one = *encodeBlock(plain[0]);
    const std::vector<std::pair<std::string, bool>> files{
        {"\n " + *encodeBlocks(plain) + " \n", true}, {*encodeBlocks(tricky), false}, {" [ ] ", true},
        {"[" + one + " , " + one + "]", true}, {"[" + one + ",]", false}, {"[" + one, false}, {"", false},
        {"{}", false}, {"[" + one + "] x", false}};
    for (const auto& [text, plainFile] : files) {
        for (const std::size_t piece : {1, 300, 1000, 1 << 20}) {
            SCOPED_TRACE(text.substr(0, 30) + " in pieces of " + std::to_string(piece));
            std::size_t at = 0;
            std::vector<MacDayBlock> taken;
            std::size_t placed = 0;
            const bool read = readBlocksInPieces(
                [&](char* into, std::size_t room) {
                    const std::size_t n = text.copy(into, std::min<std::size_t>(room, 7), at);
                    at += n;
                    return n;
                },
                [&](MacDayBlock&& block, std::optional<ByteRange> range) {
                    // Where a block's text is said to lie, it lies.
                    if (range) {
                        ++placed;
                        EXPECT_EQ(decodeBlock(text.substr(range->offset, range->length)), block);
                    }
                    taken.push_back(std::move(block));
                },
                piece);
            if (read || plainFile) {
                EXPECT_EQ(std::optional(taken), decodeBlocks(text));
            }
            if (plainFile) {
                EXPECT_EQ(placed, taken.size());
            }
        }
    }
}

}  // namespace
}  // namespace plenda
