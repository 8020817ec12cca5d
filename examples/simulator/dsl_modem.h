// The simulated DSL modem: an ADSL2+ line whose figures drift with the clock.
#ifndef SIMULATOR_DSL_MODEM_H
#define SIMULATOR_DSL_MODEM_H

namespace simulator {

bool is_dsl_request(unsigned long request);

/// Fills the block of a request of the driver's control device. Returns 0, or -1 with errno.
int answer_dsl(unsigned long request, void *block);

}  // namespace simulator

#endif
