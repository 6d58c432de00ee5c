// A tracker for tests: the tool "Pointer", whose markers appear and vanish as it is told on its
// standard input. It speaks through the published OpenIGTLink library.
//
//     vlrIgtlServer PORT          0 takes any free port
//     > see 0 1 3                 the markers that are seen from now on
//
// It prints "port N" once it listens, and tells each client what is seen every 20 ms, until its
// input ends.

#include <igtlClientSocket.h>
#include <igtlPointMessage.h>
#include <igtlServerSocket.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int period = 20; // milliseconds
const std::array<std::array<float, 3>, 4> positions{
    {{100, -50, -1400}, {100, 0, -1400}, {60, -50, -1400}, {30, 10, -1400}}};

/// As it comes, the library's socket cannot have the port of a server that was killed just now.
class Listener : public igtl::ServerSocket {
public:
    using Self = Listener;
    using Pointer = igtl::SmartPointer<Self>;
    igtlNewMacro(Listener);

    bool listenAt(int port) {
        const int yes = 1;
        const int descriptor = CreateSocket();
        if (descriptor < 0 ||
            setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0 ||
            BindSocket(descriptor, port) != 0 || Listen(descriptor) != 0)
            return false;
        m_SocketDescriptor = descriptor;
        return true;
    }
};

class Tracker {
public:
    explicit Tracker(int port) : m_server(Listener::New()) {
        m_isGood = m_server->listenAt(port);
        if (m_isGood)
            std::cout << "port " << m_server->GetServerPort() << std::endl;
    }

    int run() {
        while (m_isGood && readCommands()) {
            if (!m_client || !m_client->GetConnected())
                m_client = m_server->WaitForConnection(period);
            else if (!send())
                m_client = nullptr;
        }
        return m_isGood ? 0 : 1;
    }

private:
    // Waits for a period at most. False at the end of the input.
    bool readCommands() {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        if (poll(&input, 1, m_client ? period : 0) == 0)
            return true;
        std::array<char, 4096> bytes;
        const ssize_t size = read(STDIN_FILENO, bytes.data(), bytes.size());
        if (size <= 0)
            return false;
        // Who writes a line writes it at once.
        std::istringstream input(std::string(bytes.data(), static_cast<std::size_t>(size)));
        for (std::string text, command; std::getline(input, text);) {
            std::istringstream line(text);
            line >> command; // There is none but "see".
            m_seen.assign(std::istream_iterator<std::size_t>(line), {});
        }
        return true;
    }

    bool send() {
        auto message = igtl::PointMessage::New();
        message->SetDeviceName("Pointer");
        for (const std::size_t marker : m_seen) {
            auto point = igtl::PointElement::New();
            point->SetName(std::to_string(marker).c_str());
            point->SetGroupName("Marker");
            const auto& position = positions.at(marker);
            point->SetPosition(position[0], position[1], position[2]);
            message->AddPointElement(point);
        }
        message->Pack();
        return m_client->Send(message->GetPackPointer(),
                              static_cast<igtlUint64>(message->GetPackSize())) != 0;
    }

    Listener::Pointer m_server;
    igtl::ClientSocket::Pointer m_client;
    bool m_isGood = false;
    std::vector<std::size_t> m_seen;
};

} // namespace

int main(int argc, char** argv) {
    return Tracker(argc > 1 ? std::atoi(argv[1]) : 0).run();
}
