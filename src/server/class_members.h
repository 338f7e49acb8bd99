// Members that several classes have alike.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace qmtrain::server {

template <class C>
std::shared_ptr<void> New() {
    return std::make_shared<C>();
}

// What a member of T fills instead of a variable of the caller's.
template <auto kFill, class C, class Content>
void Fill(C& object, std::optional<Content>& variable) {
    std::invoke(kFill, object, variable.emplace());
}

// Without a message the caller's variable stays as it is.
template <auto kInit, class C>
bool Initialise(C& object, std::optional<std::u16string>& message) {
    std::u16string text;
    const bool ready = std::invoke(kInit, object, text);
    if (!text.empty()) message = std::move(text);
    return ready;
}

}  // namespace qmtrain::server
