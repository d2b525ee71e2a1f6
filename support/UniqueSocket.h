#pragma once

// Sockets belong to the loopback servers of the tests and the tools only: the
// library never opens one, so its headers stay free of winsock.

// winsock2.h comes before anything that may bring windows.h, which without
// WIN32_LEAN_AND_MEAN would pull in the old winsock.h.
#include <winsock2.h>

#include "core/UniqueResource.h"

namespace grs {

// socket, accept
using UniqueSocket = UniqueResource<HandleTraits<SOCKET, -1, &::closesocket>>;

}  // namespace grs
