#pragma once

#include <functional>
#include <map>
#include <string>

#include "base/file_descriptor.h"

namespace norvad::board {

// Serves a text to whoever connects to a local socket, and closes. Throws StartError where the socket cannot be
// made; the remains of a dead process's socket are replaced.
class StatusServer {
public:
    using Report = std::function<std::string()>;

    StatusServer(const std::string& path, Report report);
    StatusServer(const StatusServer&) = delete;
    StatusServer& operator=(const StatusServer&) = delete;
    ~StatusServer();

    // Readable when there is something to serve: it stands for the socket and its clients.
    int Descriptor() const { return poll.Get(); }

    void Serve();

private:
    struct Client {
        FileDescriptor socket;
        std::string rest;  // not sent yet
    };

    void Accept();
    void Continue(int descriptor);

    std::string path;
    Report report;
    FileDescriptor listener;
    FileDescriptor poll;
    std::map<int, Client> clients;  // by descriptor
};

// Prints what the server at path has to say to standard output; throws StartError when nobody serves there.
void PrintStatus(const std::string& path);

}  // namespace norvad::board
