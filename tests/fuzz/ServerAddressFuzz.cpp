// The address of a database server: what messages show of it leads to the same database and tells no password.
#include "tests/fuzz/Input.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

namespace {

void checkShown(const inspection::ServerAddress& address) {
    const auto shown = inspection::serverAddress(address.shown());
    fuzz::require(shown && shown->password.isEmpty() && shown->user == address.user &&
                  shown->host == address.host && shown->port == address.port &&
                  shown->database == address.database && shown->socket == address.socket);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString url = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    inspection::shownDatabase(url);
    if (const auto address = inspection::serverAddress(url)) {
        checkShown(*address);
        const auto reading = inspection::serverAddress(inspection::forReading(url));
        fuzz::require(reading && reading->readOnly && reading->database == address->database);
    }
    return 0;
}
