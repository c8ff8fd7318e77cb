#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <tl/expected.hpp>
#include <type_traits>

#include "records/record_json.h"

namespace ostrel {

// Any record that has a JSON form, behind one type, so that one batch can carry samples and
// events side by side. Copies share the record, which is never changed.
class AnyEncodable {
  public:
    template <class Record>
    requires(!std::same_as<std::remove_cvref_t<Record>, AnyEncodable>)
        AnyEncodable(Record record)  // NOLINT(google-explicit-constructor): a record is an entry
        : model_(std::make_shared<const Model<Record>>(std::move(record))) {}

    // Appends the record's JSON object exactly as a metric file line holds it.
    tl::expected<void, JsonError> appendJson(std::string& out) const {
        return model_->appendJson(out);
    }

  private:
    struct Concept {
        virtual ~Concept() = default;
        virtual tl::expected<void, JsonError> appendJson(std::string& out) const = 0;
    };
    template <class Record>
    struct Model final : Concept {
        explicit Model(Record r) : record(std::move(r)) {}
        tl::expected<void, JsonError> appendJson(std::string& out) const override {
            return ostrel::appendJson(out, record);
        }
        Record record;
    };

    std::shared_ptr<const Concept> model_;
};

}  // namespace ostrel
