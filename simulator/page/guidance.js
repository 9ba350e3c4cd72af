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

/** An error as a figure of centimetres, signed: one decimal up to a metre, none beyond. */
export function errorFigure(error, against) {
  if (error === null) return "–";
  const centimetres = seenByDriver(error, against) * 100;
  const text = Math.abs(centimetres).toFixed(Math.abs(centimetres) < 99.95 ? 1 : 0);
  if (Number(text) === 0) return text;
  return (centimetres > 0 ? "+" : "−") + text;
}

/** The same in words: where the machine is, and what to do. */
export function errorWords(error, against) {
  if (error === null) return "no line";
  const side = sideToSteerTo(error, against);
  if (side === 0) return "on the line";
  const where = `${side < 0 ? "right" : "left"} of the line${against ? ", driven against its direction" : ""}`;
  return `${where} → steer ${side < 0 ? "left" : "right"}`;
}

/** The lightbar for those who do not see it. */
export function lightbarWords(error, against) {
  if (error === null) return "Lightbar: no line";
  return `Lightbar: ${errorFigure(error, against)} centimetres, ${errorWords(error, against)}`;
}

/** A shift of the line with the side on which the driver sees it, looking ahead. */
export function shiftWords(metres, against) {
  const centimetres = Math.round(seenByDriver(metres, against) * 1000) / 10;
  if (centimetres === 0) return "0 cm";
  return `${Math.abs(centimetres)} cm ${centimetres > 0 ? "right" : "left"}`;
}
