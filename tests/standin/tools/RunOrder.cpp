#include "RunOrder.h"

#include "ComposeFile.h"
#include "Words.h"

namespace orvanel::standin {

RunOrder runOrder(Client client, const Arguments& arguments) {
    RunOrder order{.container = {.owner = Owner::plain, .restartPolicy = ""}, .complaint = ""};
    const std::string mountPoint = ":/app/data";
    std::size_t i = 1;
    for (; i < arguments.size() && arguments[i].starts_with('-'); ++i) {
        const std::string& flag = arguments[i];
        if (flag == "-d") {
            continue;
        }
        const std::string value = i + 1 < arguments.size() ? arguments[i + 1] : std::string();
        if (flag == "--restart") {
            order.container.restartPolicy = value;
        } else if (flag == "-p") {
            order.container.port = portOfMapping(value);
        } else if (flag == "-v" && value.starts_with('/') && value.ends_with(mountPoint)) {
            order.container.data = value.substr(0, value.size() - mountPoint.size());
        } else if (flag != "--name" || value != "orvanel") {
            order.complaint = words::unknownFlag(client, flag, "run");
            return order;
        }
        i += 1;
    }
    order.container.image = i < arguments.size() ? arguments[i] : std::string();
    if (i + 1 != arguments.size() || !isImageReference(order.container.image)) {
        order.complaint = words::runFailed(client, "invalid reference format\n");
    }
    return order;
}

} // namespace orvanel::standin
