// NotifyClients.h -- passes a text to every service that holds a connection on a mailbox.
#pragma once

#include <cstdint>
#include <string>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Goes through the activity file in `directory` and signals each connection that wants to know.
//
//   context       the message that the caller serves, or null; one that is given has an Account
//   server        another name of this server; may be empty
//   ipAddress, port, filterMode
//                 0 all connections, 1 only those of this address and port, 2 all but those;
//                 -1 no port
//   protocol      the caller's own protocol word, empty for the connector
//   folder        only connections on this folder; empty for all
//   serverSession the caller's token
//   localData     for a socket of the caller's own, localLength bytes; null for none
//   remoteData    the stream for all others (NotificationStream.h); a negative length means up to
//                 its NUL and one more
//
// 1 done, 2 no activity file, 0 the file's lock couldn't be had. A failure never harms a delivery.
//
// Connections are not signalled yet: the call does nothing and answers 2.
std::int32_t NotifyClients(const ConnectorMessage* context, const std::string& directory,
                           const std::string& server, const std::string& ipAddress,
                           std::int32_t port, const std::string& protocol, std::int32_t filterMode,
                           const std::string& folder, const std::string& serverSession,
                           const char* localData, std::int32_t localLength, const char* remoteData,
                           std::int32_t remoteLength);

}  // namespace corvane
