#include "connector/delivery/GenerateDSN.h"

namespace corvane {

std::int32_t GenerateDSN(const ConnectorMessage&, const MailboxRecord&, DsnKind) { return 0; }

}  // namespace corvane
