#include "pool/PoolErrorParser.h"
#include "common/CodePage.h"
#include "common/Format.h"

namespace {

void TakeCode(const JsonValue& value, PoolError& error) {
    if (value.IsInt()) error.code = value.GetInt();
}

void TakeText(const JsonValue& value, PoolError& error) {
    if (value.IsString()) CopyToField(JsonText(value), error.text);
}

void TakeArray(const JsonValue& array, PoolError& error) {
    if (array.Size() > 0) TakeCode(array[0], error);
    if (array.Size() > 1) TakeText(array[1], error);
}

void TakeObject(const JsonValue& object, PoolError& error) {
    const auto code = object.FindMember("code");
    if (code != object.MemberEnd()) TakeCode(code->value, error);
    const auto message = object.FindMember("message");
    if (message == object.MemberEnd()) return;
    if (message->value.IsArray()) {
        TakeArray(message->value, error);
    } else {
        TakeText(message->value, error);
    }
}

}  // namespace

PoolError ParsePoolError(const JsonValue& value, ddt_datetime now) {
    PoolError error;
    if (value.IsArray()) {
        TakeArray(value, error);
    } else if (value.IsObject()) {
        TakeObject(value, error);
    } else {
        TakeText(value, error);
        TakeCode(value, error);
    }
    if (error.text[0] != '\0' && error.code == 0) error.code = -1;
    if (error.code != 0) {
        error.time = now;
        if (error.text[0] == '\0') FormatTo(error.text, "Unknown error from Pool: %d", error.code);
    }
    return error;
}
