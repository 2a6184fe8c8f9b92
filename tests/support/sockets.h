#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

/// Sockets on loopback for test servers, the same on both systems. A socket is its number, -1 none.
namespace vlmr::test {

/// A listening socket on a free port, which is stored in `port`. Throws when there is none.
int ListenOnLoopback(int& port);
/// A listening socket on this port (0 = a free one, which is then stored in it), or -1 when it is taken.
int TryToListenOnLoopback(int& port);
/// The next connection, or -1 when the listener was woken by `WakeSocket` or is broken.
int AcceptConnection(int listener);
/// A connection to a port of this machine, or -1.
int ConnectToLoopback(int port);
/// Waits until some of the sockets can be read or accept, and returns those.
std::vector<int> WaitForSockets(const std::vector<int>& sockets);
/// Makes small pieces travel at once, each in a packet of its own.
void SendPiecesAtOnce(int socket);
/// Gives sending up when the other side takes nothing for so long.
void LimitSending(int socket, std::chrono::milliseconds limit);
/// Breaks the connection off with a reset when it is closed.
void ResetAtClose(int socket);
/// Whether the other side of `ResetAtClose` sees a reset; Wine ends the connection in order.
bool CanReset();
/// The system's number for a connection that nobody takes.
int RefusedConnectionNumber();
/// Sends everything, or as much as the other side takes.
void SendAll(int socket, std::string_view bytes);
/// What came, at most `limit` bytes; empty at the end of the connection.
std::string ReceiveSome(int socket, std::size_t limit);
/// Ends both directions: whoever waits on the socket in another thread returns.
void WakeSocket(int socket);
void CloseSocket(int socket);

}  // namespace vlmr::test
