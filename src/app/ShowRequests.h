#pragma once

#include <string>
#include <string_view>

namespace plenda {

// What a second launch sends the running one: one line per request.
inline constexpr std::string_view showRequestLine = "show\n";

// The requests of one connection, read from the pieces the socket delivers
// them in, which may split a line anywhere. Only a line's first few bytes
// are kept: a client that never ends its line holds no more than that.
class ShowRequestReader {
public:
    // How many requests the bytes complete.
    int feed(std::string_view bytes) {
        constexpr std::string_view request = showRequestLine.substr(0, showRequestLine.size() - 1);
        int requests = 0;
        for (const char c : bytes) {
            if (c == '\n') {
                requests += line_ == request;
                line_.clear();
            } else if (line_.size() <= request.size()) {
                line_.push_back(c);
            }
        }
        return requests;
    }

private:
    std::string line_;
};

}  // namespace plenda
