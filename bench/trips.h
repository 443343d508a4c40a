#pragma once

#include "service/transport/local_socket.h"
#include "wire/names.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tavu::bench {

/// Asks something and takes the answer in.
using Trip = std::function<void()>;

/// The median time of many trips, in seconds.
double medianTrip(const Trip &trip, int trips = 1000);

/// A socket that is connected to whoever listens under the base name, who may still have to come
/// up.
std::unique_ptr<LocalSocket> connectedSocket(const std::string &name = kPipeName);

/// Sends a request in one write and takes its reply in, by reads as large as \a reply. Raises when
/// the reply doesn't come whole.
void exchange(LocalSocket &socket, const std::vector<uint8_t> &request, std::span<uint8_t> reply);

/// Such a trip, again and again. The reply must have so many bytes.
Trip tripOver(LocalSocket &socket, const std::vector<uint8_t> &request, size_t replySize);

/// Sends a request and takes a long reply of so many bytes in, by large reads.
void fetch(LocalSocket &socket, const std::vector<uint8_t> &request, size_t replySize);

} // namespace tavu::bench
