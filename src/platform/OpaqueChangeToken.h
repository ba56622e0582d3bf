#pragma once

#include "platform/ChangeTokenArchive.h"

#include <string>

namespace plenda {

// A change token that is plain bytes, for databases that are not CloudKit.
class OpaqueChangeToken final : public CloudChangeToken {
public:
    explicit OpaqueChangeToken(std::string bytes) : bytes_(std::move(bytes)) {}
    const std::string& bytes() const { return bytes_; }

private:
    std::string bytes_;
};

// Stores an opaque token's bytes as they are; any other token cannot be archived.
class OpaqueChangeTokenArchive final : public ChangeTokenArchive {
public:
    std::optional<Data> archive(const CloudChangeToken& token) const override {
        const auto* opaque = dynamic_cast<const OpaqueChangeToken*>(&token);
        if (!opaque) return std::nullopt;
        return Data{opaque->bytes()};
    }
    CloudChangeTokenPtr unarchive(const Data& bytes) const override {
        if (bytes.bytes.empty()) return nullptr;
        return std::make_shared<OpaqueChangeToken>(bytes.bytes);
    }
};

}  // namespace plenda
