#include "platform/linux/X11Accessibility.h"

#include "base/Text.h"

namespace plenda {

namespace {

void appendLatin1(std::string& out, unsigned char c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

}  // namespace

std::string windowTextAsUtf8(const std::string& bytes, bool isUtf8, bool isCompoundText) {
    if (isUtf8) return bytes;
    std::string out;
    bool utf8Segment = false;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto c = static_cast<unsigned char>(bytes[i]);
        if (isCompoundText && c == 0x1B) {
            // ESC % G opens a UTF-8 segment, ESC % @ closes it; other
            // designations (ISO 2022 character sets) are skipped.
            if (bytes.compare(i, 3, "\x1b%G") == 0) {
                utf8Segment = true;
                i += 2;
            } else if (bytes.compare(i, 3, "\x1b%@") == 0) {
                utf8Segment = false;
                i += 2;
            } else {
                ++i;
                while (i < bytes.size() && static_cast<unsigned char>(bytes[i]) >= 0x20 &&
                       static_cast<unsigned char>(bytes[i]) <= 0x2F) {
                    ++i;
                }
            }
            continue;
        }
        if (utf8Segment) out += static_cast<char>(c);
        else appendLatin1(out, c);
    }
    return out;
}

FocusedWindowTitle X11Accessibility::focusedWindowTitle(int processIdentifier) {
    using Status = FocusedWindowTitle::Status;
    if (!x11_.isOpen()) return {Status::windowError, 0, {}};

    std::optional<xcb_window_t> window = x11_.activeWindow();
    if (window && x11_.processIdentifier(*window).value_or(0) != processIdentifier) {
        window.reset();
        for (xcb_window_t client : x11_.clientWindows()) {
            if (x11_.processIdentifier(client) == processIdentifier) {
                window = client;
                break;
            }
        }
    }
    if (!window) return {Status::windowError, 0, {}};

    const xcb_atom_t utf8 = x11_.atom("UTF8_STRING");
    const xcb_atom_t compound = x11_.atom("COMPOUND_TEXT");
    int error = 0;
    for (xcb_atom_t property : {x11_.atom("_NET_WM_NAME"), x11_.atom("_NET_WM_VISIBLE_NAME"), xcb_atom_t(XCB_ATOM_WM_NAME)}) {
        const auto text = x11_.bytes(*window, property, &error);
        if (error != 0) return {Status::titleError, error, {}};
        if (!text || text->bytes.empty()) continue;
        return {Status::title, 0, nfc(windowTextAsUtf8(text->bytes, text->type == utf8, text->type == compound))};
    }
    return {Status::titleError, 0, {}};
}

}  // namespace plenda
