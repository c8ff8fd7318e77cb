#pragma once

#include <QObject>
#include <string>

#include "platform/dispatcher.h"

namespace ostrel {

// The main queue served by Qt's event loop, so that published state and the widgets share one
// thread. Build it on that thread, after the application object. Tasks posted from any thread
// run in posting order; tasks still waiting when the queue goes are dropped unrun.
class QtMainQueue final : public SerialQueue {
  public:
    void async(Task task) override;
    const std::string& label() const override { return label_; }

  private:
    std::string label_ = "main";
    // The receiver of the posted tasks; they die with it.
    QObject context_;
};

}  // namespace ostrel
