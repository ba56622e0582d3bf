#include "app/ReportStore.h"

#include "model/MacDayBlockJson.h"
#include "platform/Defaults.h"
#include "platform/Files.h"

#include <iostream>
#include <map>

namespace plenda {

namespace {

// Reads give the report's blocks; writes go nowhere.
class DayFiles final : public Files {
public:
    explicit DayFiles(std::string bytes) : bytes_(std::move(bytes)) {}
    std::optional<std::string> applicationSupportDirectory() const override { return "/report"; }
    bool createDirectories(const std::string&) override { return true; }
    FileRead readFile(const std::string&) const override { return FileRead{FileRead::Status::ok, bytes_, {}}; }
    std::optional<FileStamp> stamp(const std::string&) const override { return FileStamp{}; }
    std::unique_ptr<FileReader> openForReading(const std::string&) const override { return nullptr; }
    std::optional<std::string> writeAtomically(const std::string&, const std::function<bool(FileWriter&)>&) override {
        return {};
    }
    bool moveFile(const std::string&, const std::string&) override { return false; }

private:
    std::string bytes_;
};

class ScratchDefaults final : public Defaults {
public:
    std::optional<DefaultsValue> object(std::string_view key) const override {
        const auto found = values_.find(std::string(key));
        if (found == values_.end()) return std::nullopt;
        return found->second;
    }
    void set(std::string_view key, DefaultsValue value) override { values_.insert_or_assign(std::string(key), value); }
    void remove(std::string_view key) override { values_.erase(std::string(key)); }

private:
    std::map<std::string, DefaultsValue> values_;
};

}  // namespace

ReportStore::ReportStore(const std::vector<MacDayBlock>& blocks, Clock& clock, Scheduler& scheduler,
                         Calendar& calendar, const StringTable& strings)
    : files_(std::make_unique<DayFiles>(encodeBlocks(blocks).value_or("[]"))),
      defaults_(std::make_unique<ScratchDefaults>()) {
    // The split belongs to the app, which saves what it splits.
    defaults_->setBool(MacActivityStore::didSplitKey, true);
    store_ = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
        clock, scheduler, calendar, *defaults_, *files_, strings, true, &Uuid::random, std::cerr});
    // As the app does at launch: with sync off, this is what its status says.
    store_->syncNow({});
}

ReportStore::~ReportStore() = default;

}  // namespace plenda
