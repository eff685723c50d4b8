// Makes the architecture of a small airliner's flight control system: hardware, software, wiring and messages, with
// stereotypes of the example profiles and values of its own. The profiles are found through ZELKOR_PATH.
//
//     make_aircraft Aircraft.xml
#include "arch/Architecture.h"
#include "arch/Component.h"
#include "arch/Connector.h"
#include "arch/Port.h"
#include "tavo/core/Error.h"
#include "tavo/model/Transaction.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/profile/ProfileNamespace.h"
#include "zelkor/profile/Prototype.h"

#include <iostream>
#include <string>
#include <utility>

using zelkor::Architecture;
using zelkor::Component;
using zelkor::Connector;
using zelkor::Element;
using zelkor::Port;
using zelkor::PortDirection;

namespace {

tavo::String numbered(std::u16string_view name, int number) {
  return tavo::concat(name, tavo::String::fromUtf8(std::to_string(number)));
}

class Aircraft {
public:
  explicit Aircraft(zelkor::ModelFile& file)
      : profiles_(file.profiles()), aircraft_(Architecture::createArchitecture(file.model(), u"Aircraft")) {
    profiles_.addProfile(u"FlightControl", false); // and with it the two that it depends on
    profiles_.addProfile(u"AvionicsHardware", false);
    profiles_.addProfile(u"TimingScheduling", false);
  }

  void build() {
    buildPower();
    buildNetwork();
    buildAirData();
    for (int i = 1; i <= 3; ++i)
      buildComputer(i, u"'Command'");
    buildComputer(4, u"'Monitor'");
    for (const auto& [actuator, surface] :
         {std::pair(u"LeftElevator", u"'Elevator'"), std::pair(u"RightElevator", u"'Elevator'"),
          std::pair(u"LeftAileron", u"'Aileron'"), std::pair(u"RightAileron", u"'Aileron'"),
          std::pair(u"Rudder", u"'Rudder'")})
      buildActuator(actuator, surface);
  }

private:
  static void set(const Element& element, const char16_t* property, const tavo::String& value,
                  const char16_t* units = u"*") {
    element.setPropVal(property, value, units);
  }

  template <class E>
  E apply(E element, const char16_t* stereotype) const {
    element.applyPrototype(profiles_.getPrototype(stereotype));
    return element;
  }

  Component part(const Component& owner, const tavo::String& name, const char16_t* stereotype) const {
    return apply(owner.addComponent(name), stereotype);
  }
  Port dataPort(const Component& owner, const char16_t* name) const {
    return apply(owner.addPort(name, PortDirection::BOTH), u"AvionicsHardware.DataPin");
  }

  /// A power input, wired to a bus.
  void powered(const Component& unit, const Port& bus, const char16_t* amperes, const char16_t* metres) const {
    const auto input = apply(unit.addPort(u"power", PortDirection::INPUT), u"AvionicsHardware.ElectricalPin");
    set(input, u"AvionicsHardware.ElectricalPin.ratedCurrent", amperes);
    const auto wire =
        apply(aircraft_.addConnector(tavo::concat(unit.getName(), u"Wire"), bus, input), u"AvionicsHardware.Harness");
    set(wire, u"AvionicsHardware.Harness.wireLength", metres);
  }

  /// A message from one data port to another.
  void sends(const tavo::String& name, const Port& from, const Port& to, const char16_t* bytes) const {
    const auto message = apply(aircraft_.addConnector(name, from, to), u"TimingScheduling.Message");
    set(message, u"TimingScheduling.Message.payload", bytes);
  }

  void buildPower() {
    const auto power = aircraft_.addComponent(u"Power");
    for (int i = 1; i <= 2; ++i) {
      const auto generator = part(power, numbered(u"Generator", i), u"AvionicsHardware.QualifiedEquipment");
      set(generator, u"AvionicsHardware.Equipment.mass", u"48.5");
      set(generator, u"AvionicsHardware.Equipment.unitCost", u"165000");
      const auto bus = part(power, numbered(u"EssentialBus", i), u"AvionicsHardware.Equipment");
      set(bus, u"AvionicsHardware.Equipment.mass", u"6");
      buses_[i - 1] = apply(bus.addPort(u"feed", PortDirection::OUTPUT), u"AvionicsHardware.ElectricalPin");
      set(buses_[i - 1], u"AvionicsHardware.ElectricalPin.contactCount", u"24");
    }
    const auto battery = part(power, u"Battery", u"AvionicsHardware.QualifiedEquipment");
    set(battery, u"AvionicsHardware.Equipment.mass", u"58", u"lb");
  }

  void buildNetwork() {
    const auto network = aircraft_.addComponent(u"Network");
    for (int i = 1; i <= 2; ++i) {
      const auto hub = part(network, numbered(u"Switch", i), u"AvionicsHardware.ElectricalUnit");
      set(hub, u"AvionicsHardware.ElectricalUnit.typicalPower", u"14");
      powered(hub, buses_[i - 1], u"1.5", u"2.5");
      switches_[i - 1] = dataPort(hub, u"data");
      set(switches_[i - 1], u"AvionicsHardware.ElectricalPin.contactCount", u"96");
    }
  }

  void buildAirData() {
    const auto airData = aircraft_.addComponent(u"AirData");
    for (int i = 1; i <= 3; ++i) {
      const auto probe = part(airData, numbered(u"Probe", i), u"FlightControl.AirDataSensor");
      set(probe, u"AvionicsHardware.Equipment.mass", u"0.9 + 0.1");
      set(probe, u"AvionicsHardware.Sensor.sampleRate", u"50");
      powered(probe, buses_[i % 2], u"14", u"11");
      sends(numbered(u"airData", i), dataPort(probe, u"data"), switches_[i % 2], u"48");
    }
  }

  void buildComputer(int number, const char16_t* role) {
    if (!flightControl_)
      flightControl_ = aircraft_.addComponent(u"FlightControl");
    const auto computer = part(flightControl_, numbered(u"Computer", number), u"FlightControl.FlightControlComputer");
    set(computer, u"FlightControl.FlightControlComputer.role", role);
    set(computer, u"FlightControl.FlightControlComputer.channel", tavo::String::fromUtf8(std::to_string(number)));
    set(computer, u"AvionicsHardware.Equipment.mass", u"5.4");
    powered(computer, buses_[number % 2], u"3", u"4");
    const auto data = dataPort(computer, u"data");
    sends(numbered(u"commands", number), data, switches_[number % 2], u"256");

    const auto partition = part(computer, u"ControlPartition", u"TimingScheduling.Partition");
    set(partition, u"TimingScheduling.Partition.windowLength", u"4");
    for (const auto* axis : {u"Pitch", u"Roll", u"Yaw"}) {
      const auto law = part(partition, tavo::concat(axis, u"Law"), u"FlightControl.ControlLaw");
      set(law, u"FlightControl.ControlLaw.phaseMargin", u"52");
      set(law, u"TimingScheduling.Task.stackSize", u"24");
    }
  }

  void buildActuator(const char16_t* name, const char16_t* surface) {
    if (!surfaces_)
      surfaces_ = aircraft_.addComponent(u"Surfaces");
    const auto actuator = part(surfaces_, name, u"FlightControl.SurfaceActuator");
    set(actuator, u"FlightControl.SurfaceActuator.surface", surface);
    set(actuator, u"AvionicsHardware.Actuator.ratedForce", u"22", u"kN");
    powered(actuator, buses_[0], u"9", u"18");
    sends(tavo::concat(name, u"Position"), dataPort(actuator, u"data"), switches_[0], u"16");
  }

  zelkor::profile::ProfileNamespace profiles_;
  Architecture aircraft_;
  Component flightControl_, surfaces_;
  Port buses_[2], switches_[2];
};

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make_aircraft OUTPUT.xml\n";
    return 2;
  }
  try {
    auto file = zelkor::ModelFile::create(u"Aircraft");
    tavo::Transaction transaction(file.model()); // all of it is one step
    Aircraft(file).build();
    transaction.commit();
    file.saveAs(argv[1]);
  } catch (const tavo::Error& error) {
    std::cerr << error.id().text() << ": " << error.what() << '\n';
    return 1;
  }
}
