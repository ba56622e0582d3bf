#include "SyntheticBlocks.h"

#include "tracking/CategoryRules.h"

#include <array>
#include <random>
#include <string>

namespace plenda {

namespace {

constexpr std::array<const char*, 36> titles = {
    "Xcode",          "Code · api",       "Code · webapp",   "Terminal · src",   "Slack",
    "Mail",           "Calendar",         "github.com",      "stackoverflow.com", "docs.google.com",
    "Figma",          "Notion",           "Zoom",            "Messages",         "WhatsApp",
    "youtube.com",    "netflix.com",      "Spotify",         "Music",            "reddit.com",
    "x.com",          "en.wikipedia.org", "arxiv.org",       "Books",            "Kindle",
    "nytimes.com",    "Headspace",        "Strava",          "amazon.com",       "Finder",
    "Preview",        "IntelliJ IDEA · billing", "Safari",   "Notes",            "medium.com",
    "Übersicht",
};

}  // namespace

std::vector<MacDayBlock> syntheticBlocks(std::size_t count, Date firstDay, int perDay, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<std::size_t> pickTitle(0, titles.size() - 1);
    std::uniform_real_distribution<double> minutes(0.5, 12.0);  // about eleven tracked hours a day
    std::uniform_real_distribution<double> pause(5.0, 300.0);

    std::vector<MacDayBlock> blocks;
    blocks.reserve(count);
    Date dayStart = firstDay;
    Date cursor = dayStart + 7 * 3600.0;
    int today = 0;
    while (blocks.size() < count) {
        if (today == perDay) {
            dayStart = dayStart + 86400.0;
            cursor = dayStart + 7 * 3600.0;
            today = 0;
        }
        const std::string title = titles[pickTitle(random)];
        const double length = minutes(random) * 60.0;
        const Date start = cursor;
        const Date end = start + length;
        blocks.push_back(MacDayBlock{
            .id = Uuid::random(),
            .title = title,
            .category = classifyCategory(title + " " + title, title.find('.') != std::string::npos),
            .weight = length / 60.0,
            .note = "Logged automatically on Mac",
            .createdAt = start,
            .startDate = start,
            .endDate = end,
            .blockType = "tracked",
            .modifiedAt = end,
        });
        cursor = end + pause(random) / 4.0;
        ++today;
    }
    return blocks;
}

}  // namespace plenda
