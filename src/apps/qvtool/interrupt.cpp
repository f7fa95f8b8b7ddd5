#include "interrupt.h"

#include <csignal>
#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

namespace qvtool {

namespace {

int pipeEnds[2] = {-1, -1};
volatile std::sig_atomic_t hasCome = 0;

// All that is allowed in a signal handler: wake the event loop through a pipe.
void OnSignal(int)
{
    hasCome = 1;
    const char byte = 0;
    [[maybe_unused]] const auto written = write(pipeEnds[1], &byte, 1);
}

} // namespace

Interrupt::Interrupt(QObject* parent) : QObject(parent)
{
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier_ = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this] {
        notifier_->setEnabled(false);
        Q_EMIT interrupted();
    });

    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESETHAND | SA_RESTART;
    for (const int number : {SIGINT, SIGTERM}) {
        struct sigaction inherited = {};
        if (sigaction(number, &action, &inherited) == 0 && inherited.sa_handler == SIG_IGN)
            std::signal(number, SIG_IGN); // started in the background of a script
    }
}

Interrupt::~Interrupt()
{
    for (const int number : {SIGINT, SIGTERM})
        std::signal(number, SIG_DFL);
    delete notifier_; // before the descriptor it watches
    for (const int end : pipeEnds)
        close(end);
}

bool Interrupt::HasCome()
{
    return hasCome != 0;
}

} // namespace qvtool
