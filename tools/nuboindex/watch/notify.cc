// The manager's protocol is one datagram; its library is not needed for that.
#include "watch/notify.h"

#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

void ServiceNotify(const std::string &message)
{
    const char *path = getenv("NOTIFY_SOCKET");
    sockaddr_un address = {};
    size_t length = path ? strlen(path) : 0;
    if (length == 0 || length >= sizeof address.sun_path || (path[0] != '/' && path[0] != '@'))
        return;
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, path, length);
    if (path[0] == '@')
        address.sun_path[0] = '\0';  // not a file
    int sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sender < 0)
        return;
    socklen_t size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    (void)sendto(sender, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                 reinterpret_cast<const sockaddr *>(&address), size);
    close(sender);
}
