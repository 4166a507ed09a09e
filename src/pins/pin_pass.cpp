#include "pins/pin_pass.h"

#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>
#include <tbb/task_group.h>

#include <memory>
#include <new>
#include <utility>

#include "brushes/PinFill.h"
#include "painter/BlockedPainter.h"
#include "painter/parallel_rows.h"
#include "pins/PassPlan.h"
#include "pins/Pin.h"
#include "pins/PinRowPainter.h"
#include "pins/fill_factory.h"
#include "shapes/PixelBatch.h"

namespace orv::hdri::blockedAVX2 {

namespace {

/// Holds the fills prepared for one paint, and gives back in list order what they got.
class PreparedFills {
 public:
  explicit PreparedFills(BlockedPainter& painter) : painter_(painter) {}
  PreparedFills(const PreparedFills&) = delete;
  PreparedFills& operator=(const PreparedFills&) = delete;
  ~PreparedFills() {
    for (const std::unique_ptr<Pin>& pin : painter_.pins()) pin->fill->release(painter_);
  }

  /// A fill that can not be prepared shows as red, now and in later paints.
  void prepare(Pin& pin) {
    if (pin.fill->prepare(painter_)) return;
    std::unique_ptr<PinFill> red = makeRedFill();
    if (!red) throw std::bad_alloc();
    pin.fill = std::move(red);
  }

 private:
  BlockedPainter& painter_;
};

}  // namespace

void paintPins(BlockedPainter& painter, EnvImage* result) {
  painter.progressText("Painting Pins");
  PreparedFills fills(painter);
  for (const std::unique_ptr<Pin>& pin : painter.pins()) {
    setRowRange(*pin, painter.height());
    fills.prepare(*pin);
  }
  const PassPlan plan(painter.width(), painter.pins(), painter.smoothing() ? kNeedsSoftEdge : 0);

  const BlockedPainter* self = &painter;
  const PassPlan* shared = &plan;
  tbb::enumerable_thread_specific<PinRowPainter> rowPainters(self, shared, result);
  tbb::task_group_context context;
  const auto paintRow = [&](std::int32_t y) {
    const LoopOrder::Body order;
    rowPainters.local().paintRow(y);
  };
  const LoopOrder order;
  tbb::parallel_for(std::int32_t{0}, painter.height(), std::int32_t{1}, paintRow, context);
}

}  // namespace orv::hdri::blockedAVX2
