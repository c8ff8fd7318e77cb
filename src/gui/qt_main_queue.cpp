#include "gui/qt_main_queue.h"

#include <QMetaObject>

namespace ostrel {

void QtMainQueue::async(Task task) {
    QMetaObject::invokeMethod(&context_, std::move(task), Qt::QueuedConnection);
}

}  // namespace ostrel
