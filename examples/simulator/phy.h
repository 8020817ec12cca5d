// The simulated PHYs of an Ethernet switch with four ports.
#ifndef SIMULATOR_PHY_H
#define SIMULATOR_PHY_H

namespace simulator {

/// Answers SIOCGMIIPHY, SIOCGMIIREG and SIOCSMIIREG for the PHYs 0 to 3 of any interface.
/// Returns 0, or -1 with errno.
int answer_phy(unsigned long request, void *ifreq_bytes);

}  // namespace simulator

#endif
