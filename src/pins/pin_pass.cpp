#include "pins/pin_pass.h"

#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>
#include <tbb/task_group.h>

#include "painter/BlockedPainter.h"
#include "painter/parallel_rows.h"
#include "pins/PinRowPainter.h"

namespace orv::hdri::blockedAVX2 {

void paintPins(BlockedPainter& painter, EnvImage* result) {
  painter.progressText("Painting Pins");
  const BlockedPainter* self = &painter;
  tbb::enumerable_thread_specific<PinRowPainter> rowPainters(self, result);
  tbb::task_group_context context;
  const auto paintRow = [&](std::int32_t y) {
    const LoopOrder::Body order;
    rowPainters.local().paintRow(y);
  };
  const LoopOrder order;
  tbb::parallel_for(std::int32_t{0}, painter.height(), std::int32_t{1}, paintRow, context);
}

}  // namespace orv::hdri::blockedAVX2
