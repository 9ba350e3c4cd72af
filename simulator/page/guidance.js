// What the driver is told about the cross-track error. The service's is positive right of the line, looking
// along the line, which may be against the way that the machine looks. What is shown is what the driver
// sees, looking ahead: positive when the machine is right of the line.

/** A length across the line as the driver sees it, from what the service counts along the line. */
export const seenByDriver = (metres, against) => (metres === null || !against ? metres : -metres);

/** Within this the machine counts as being on the line, metres. */
export const bandMetres = 0.025;

/** Errors from which the lights of one side burn, metres, from the middle outwards. */
export const lightSteps = [0.025, 0.05, 0.075, 0.1, 0.15, 0.2, 0.3, 0.5, 0.75, 1];

/** The side to steer to: -1 left, 1 right, 0 when the machine is on the line or there is none. */
export function sideToSteerTo(error, against) {
  if (error === null || Math.abs(error) <= bandMetres) return 0;
  return seenByDriver(error, against) > 0 ? -1 : 1;
}

/** The shift, as the service counts it, that moves the line to the driver's left (-1) or right (1). */
export const shiftTo = (side, metres, against) => seenByDriver(side * metres, against);

/** How the lightbar burns: how many lights, and on which side (the one to steer to). */
export function lightbar(error, against) {
  const side = sideToSteerTo(error, against);
  const lit = side === 0 ? 0 : lightSteps.filter((step) => Math.abs(error) > step).length;
  return { side, lit, middle: error !== null && side === 0 };
}

/** A length without its sign, in the unit that suits it: {text, unit}. */
export function lengthFigure(metres) {
  const size = Math.abs(metres);
  if (size < 0.9995) return { text: (size * 100).toFixed(1), unit: "cm" };
  if (size < 9.995) return { text: size.toFixed(2), unit: "m" };
  if (size < 99.95) return { text: size.toFixed(1), unit: "m" };
  if (size < 9999.5) return { text: size.toFixed(0), unit: "m" };
  if (size < 99950) return { text: (size / 1000).toFixed(1), unit: "km" };
  return size < 9999500 ? { text: (size / 1000).toFixed(0), unit: "km" } : { text: ">9999", unit: "km" };
}

/** The same as words. */
export function lengthWords(metres) {
  const { text, unit } = lengthFigure(metres);
  return `${text} ${unit}`;
}

/** An error as a figure, signed: {text, unit}. */
export function errorFigure(error, against) {
  if (error === null) return { text: "–", unit: "" };
  const { text, unit } = lengthFigure(error);
  if (Number(text) === 0) return { text, unit };
  return { text: (seenByDriver(error, against) > 0 ? "+" : "−") + text, unit };
}

/** Steering by less than that counts as straight ahead, radians; more where the machine keeps to the line by it. */
const straight = 0.02;
const straightOnLine = 0.05;
/** A machine that is slower is steered nowhere, metres per second. */
const standing = 0.05;

/** The side to which the machine steers that is engaged: -1 left, 1 right, 0 neither. */
export function sideSteeredTo(error, angle) {
  const isOnLine = error !== null && Math.abs(error) <= bandMetres;
  return Math.abs(angle) < (isOnLine ? straightOnLine : straight) ? 0 : Math.sign(angle);
}

const sideName = (side) => (side < 0 ? "left" : "right");

/** Whether the driver is to steer: not while the machine does, nor while it stands. */
export const isToSteer = ({ engaged = false, speed = Infinity } = {}) => !engaged && Math.abs(speed) >= standing;

/**
 * An error in words, as parts {where, way, act}: where the machine is, whether the line is driven against its
 * direction, and what to do. Steering that is engaged has nothing done by the driver: then it is what the machine
 * does, whose wheels are turned by `angle`; and who stands steers nowhere.
 */
export function errorParts(error, against, steering = {}) {
  if (error === null) return { where: "no line", way: "", act: "" };
  const side = sideToSteerTo(error, against);
  const where = side === 0 ? "on the line" : `${sideName(-side)} of the line`;
  const way = against && side !== 0 ? ", driven against its direction" : "";
  if (!steering.engaged) return { where, way, act: side !== 0 && isToSteer(steering) ? ` → steer ${sideName(side)}` : "" };
  const steered = sideSteeredTo(error, steering.angle);
  return { where, way, act: `, the machine steers ${steered === 0 ? "straight" : sideName(steered)}` };
}

/** The same as a text. */
export function errorWords(...values) {
  const { where, way, act } = errorParts(...values);
  return where + way + act;
}

/** The lightbar for those who do not see it. */
export function lightbarWords(error, against, steering) {
  if (error === null) return "Lightbar: no line";
  const { text, unit } = errorFigure(error, against);
  const name = { cm: "centimetres", m: "metres", km: "kilometres" }[unit];
  return `Lightbar: ${text} ${name}, ${errorWords(error, against, steering)}`;
}

/** A shift of the line with the side on which the driver sees it, looking ahead. */
export function shiftWords(metres, against) {
  const seen = Math.round(seenByDriver(metres, against) * 1000) / 1000;
  if (seen === 0) return "0 cm";
  const size = Math.abs(seen) < 1 ? `${Math.round(Math.abs(seen) * 1000) / 10} cm` : lengthWords(seen);
  return `${size} ${sideName(seen)}`;
}

/** What is said of a line that is new: a nudge from before moves it too. */
export const nudgeNote = (state) =>
  (state === null || state.nudge === 0 ? "" : ` The nudge of ${lengthWords(state.nudge)} from before moves it.`);
