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
struct Listener : igtl::ServerSocket {
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

// Waits for so many milliseconds at most. False at the end of the input.
bool readCommands(int milliseconds, std::vector<std::size_t>& seen) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, milliseconds) == 0)
        return true;
    std::array<char, 4096> bytes;
    const ssize_t size = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (size <= 0)
        return false;
    // Who writes a line writes it at once.
    std::istringstream lines(std::string(bytes.data(), static_cast<std::size_t>(size)));
    for (std::string text, command; std::getline(lines, text);) {
        std::istringstream line(text);
        line >> command; // There is none but "see".
        seen.assign(std::istream_iterator<std::size_t>(line), {});
    }
    return true;
}

bool send(igtl::ClientSocket& client, const std::vector<std::size_t>& seen) {
    auto message = igtl::PointMessage::New();
    message->SetDeviceName("Pointer");
    for (const std::size_t marker : seen) {
        auto point = igtl::PointElement::New();
        point->SetName(std::to_string(marker).c_str());
        point->SetGroupName("Marker");
        const auto& position = positions.at(marker);
        point->SetPosition(position[0], position[1], position[2]);
        message->AddPointElement(point);
    }
    message->Pack();
    return client.Send(message->GetPackPointer(),
                       static_cast<igtlUint64>(message->GetPackSize())) != 0;
}

} // namespace

int main(int argc, char** argv) {
    auto server = Listener::New();
    if (!server->listenAt(argc > 1 ? std::atoi(argv[1]) : 0))
        return 1;
    std::cout << "port " << server->GetServerPort() << std::endl;
    igtl::ClientSocket::Pointer client;
    std::vector<std::size_t> seen;
    while (readCommands(client ? period : 0, seen)) {
        if (!client || !client->GetConnected())
            client = server->WaitForConnection(period);
        else if (!send(*client, seen))
            client = nullptr;
    }
}
