#include "mpsys/Connection.h"

namespace MPSys {

bool Connection::isUsable() const { return true; }

std::uint32_t Connection::peer() const { return 0xffffffff; }

bool Connection::isUsableToReceive() const { return true; }

Connection::~Connection() = default;

}  // namespace MPSys
