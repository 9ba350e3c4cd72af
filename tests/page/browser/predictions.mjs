// Random lines of every kind for a machine, and what the service does to it when it gets one.

/** Numbers from 0 to 1 that are the same in each run. */
export function randomNumbers(seed) {
  let state = seed;
  return () => {
    state = (state * 1664525 + 1013904223) % 4294967296;
    return state / 4294967296;
  };
}

const ahead = ([x, y], heading, metres, aside = 0) => [
  x + Math.sin(heading) * metres + Math.cos(heading) * aside, y + Math.cos(heading) * metres - Math.sin(heading) * aside];

/** The text form of a line of a kind that goes by beside the machine, in about any direction. */
export function randomLine(kind, { x, y, heading: machineHeading }, random) {
  const among = (least, most) => least + (most - least) * random();
  const heading = machineHeading + (random() < 0.5 ? Math.PI : 0) + among(-1.2, 1.2);
  const place = ahead([x, y], heading, 0, random() < 0.5 ? among(-1.4, 1.4) : among(-9, 9));
  const flat = (points) => points.map(([px, py]) => `${px} ${py} 0`).join(" ");
  if (kind === 0) return `0 ${flat([ahead(place, heading, -20), ahead(place, heading, among(1, 50))])}`;
  if (kind === 1) return `1 ${flat([ahead(place, heading, among(-30, 30))])} ${heading}`;
  if (kind === 2) {
    const [radius, side] = [among(4, 80), random() < 0.5 ? -1 : 1];
    const centre = ahead(place, heading, 0, side * radius);
    const on = (angle) => ahead(centre, heading - side * (Math.PI / 2) + side * angle, radius);
    return `2 ${flat([on(-among(0.2, 1)), on(among(0, 0.1)), on(among(0.2, 2))])}`;
  }
  const [spacing, height, length] = [among(0.5, 6), among(0, 2), among(30, 60)];
  const end = random() < 0.3 ? among(-1, 8) : 60; // it may end beside the machine
  const points = [];
  for (let s = -60; s < end; s += spacing) points.push(ahead(place, heading, s, height * Math.sin((2 * Math.PI * s) / length)));
  return `${kind} ${points.length} ${flat(points)}`;
}

/** The newest event of each name that the service has now. */
export async function present(page) {
  const abort = new AbortController();
  const response = await fetch(`${page}events`, { signal: abort.signal });
  const seen = {};
  let rest = "";
  const decoder = new TextDecoder();
  for await (const chunk of response.body) {
    rest += decoder.decode(chunk, { stream: true });
    const events = rest.split("\n\n");
    rest = events.pop();
    for (const event of events) {
      const parts = /^event: (\w+)\ndata: (.*)$/m.exec(event);
      if (parts !== null) seen[parts[1]] = JSON.parse(parts[2]);
    }
    if (seen.state && seen.line && seen.settings) break;
  }
  abort.abort();
  return seen;
}

/** Posts to the service and gives its answer; it must not refuse. */
export async function post(page, path, value) {
  const response = await fetch(page + path, { method: "POST", headers: { "Content-Type": "application/json" },
    body: JSON.stringify(value) });
  const answer = await response.json();
  if (!response.ok || answer.result === 0) throw new Error(`${JSON.stringify(value)}: ${JSON.stringify(answer)}`);
  return answer;
}
