#include "app/QuitSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace plenda {

namespace {

int quitPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = write(quitPipe[1], &byte, 1);
}

}  // namespace

QuitSignals::QuitSignals(std::function<void()> quit) : quit_(std::move(quit)) {
    if (pipe(quitPipe) != 0) return;
    fcntl(quitPipe[1], F_SETFL, O_NONBLOCK);
    notifier_ = new QSocketNotifier(quitPipe[0], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this] {
        char bytes[16];
        [[maybe_unused]] const auto read = ::read(quitPipe[0], bytes, sizeof bytes);
        if (quit_) quit_();
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) sigaction(signal, &action, nullptr);
}

QuitSignals::~QuitSignals() {
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) std::signal(signal, SIG_DFL);
}

}  // namespace plenda
