// The setup information file of the installation medium, as far as more than one part of the
// library knows it: its name and the section that lists the medium's components. CSetupInf reads
// the whole file; the scrambling functions look in the same section for the folder of the
// product's cryptographic library. Internal to the library.
#pragma once

namespace setupinf {

const char kFileName[] = "SETUP.INF";
const char kComponentsSection[] = "Components";

}  // namespace setupinf
