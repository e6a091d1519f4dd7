#include "BrindleRecorderLinux/Control/ControlObject.hpp"

#include "BrindleRecorderLinux/Bus/BusText.hpp"
#include "BrindleRecorderLinux/Control/ControlDescription.hpp"

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

namespace brindle {

namespace {

using Description = ControlDescription;

/// As the bus spells them, for the methods in their order: what it keeps must stay.
const std::vector<std::string>& signatures() {
    static const auto all = [] {
        std::vector<std::string> made;
        for (const auto& method : Description::methods()) {
            auto& signature = made.emplace_back();
            for (const auto& argument : method.arguments) {
                signature += argument.type;
            }
        }
        return made;
    }();
    return all;
}

} // namespace

ControlObject::ControlObject(Bus& bus) : bus_{bus} {
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_object_vtable(
            bus_.get(), &slot, Description::path, Description::interface, table(), this) < 0) {
        return;
    }
    object_.reset(slot);
    // The bus describes objects by itself, but without words for people: it is asked before.
    if (sd_bus_add_object(bus_.get(), &slot, Description::path, &ControlObject::describe, this) >=
        0) {
        description_.reset(slot);
    }
}

const sd_bus_vtable* ControlObject::table() {
    static const auto made = [] {
        std::vector<sd_bus_vtable> table{SD_BUS_VTABLE_START(0)};
        for (const auto& property : Description::properties()) {
            table.push_back(SD_BUS_PROPERTY(
                property.name, "s", &ControlObject::say, 0,
                property.isConstant ? SD_BUS_VTABLE_PROPERTY_CONST
                                    : SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE));
        }
        auto signature = signatures().begin();
        for (const auto& method : Description::methods()) {
            table.push_back(SD_BUS_METHOD(
                method.name, (signature++)->c_str(), "", &ControlObject::take,
                SD_BUS_VTABLE_UNPRIVILEGED));
        }
        table.push_back(SD_BUS_VTABLE_END);
        return table;
    }();
    return made.data();
}

void ControlObject::showStatus(const ProgramStatus& status) {
    const ProgramStatus before = std::exchange(status_, status);
    std::vector<char*> changed;
    for (const auto& property : Description::properties()) {
        if (property.value(before) != property.value(status_)) {
            changed.push_back(const_cast<char*>(property.name)); // only read, says the bus
        }
    }
    if (changed.empty()) {
        return;
    }
    changed.push_back(nullptr);
    if (sd_bus_emit_properties_changed_strv(
            bus_.get(), Description::path, Description::interface, changed.data()) >= 0) {
        bus_.wake();
    }
}

void ControlObject::setCommandHandler(std::function<bool(const ControlCommand&)> handler) {
    handler_ = std::move(handler);
}

int ControlObject::describe(sd_bus_message* call, void* /*self*/, sd_bus_error* /*error*/) {
    if (sd_bus_message_is_method_call(call, "org.freedesktop.DBus.Introspectable", "Introspect") <=
        0) {
        return 0; // for the table
    }
    static const std::string description = Description::introspection();
    const int answered = sd_bus_reply_method_return(call, "s", description.c_str());
    return answered < 0 ? answered : 1;
}

int ControlObject::say(
    sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/, const char* property,
    sd_bus_message* answer, void* self, sd_bus_error* /*error*/) {
    const auto* const described = Description::property(property);
    if (described == nullptr) {
        return -ENOENT;
    }
    const auto value = described->value(static_cast<const ControlObject*>(self)->status_);
    return sd_bus_message_append(answer, "s", BusText::valid(value).c_str());
}

int ControlObject::take(sd_bus_message* call, void* self, sd_bus_error* error) {
    const auto* const method = Description::method(sd_bus_message_get_member(call));
    if (method == nullptr) {
        return -ENOENT;
    }
    ControlCommand command{.kind = method->kind};
    if (!method->arguments.empty()) {
        const char* question = nullptr;
        int record = 0; // the wire's booleans have the size of an int
        if (sd_bus_message_read(call, "sb", &question, &record) <= 0) {
            return -EBADMSG;
        }
        command.question = question;
        command.kind =
            record != 0 ? ControlCommand::Kind::answerRecord : ControlCommand::Kind::answerSkip;
    }
    auto& object = *static_cast<ControlObject*>(self);
    if (!object.handler_ || !object.handler_(command)) {
        return sd_bus_error_set(error, Description::notNow, method->refusal);
    }
    return sd_bus_reply_method_return(call, "");
}

} // namespace brindle
