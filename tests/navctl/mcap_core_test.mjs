// Our recordings, read by the reader of the format's own project.

import { after, before, test } from "node:test";
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";

const require = createRequire(join(process.env.NODE_MODULES, "@mcap/core/"));
const { McapIndexedReader, McapStreamReader } = require("@mcap/core");
const { decompress } = require("fzstd");

const decompressHandlers = { zstd: (bytes) => decompress(bytes) };
const golden = process.env.GOLDEN_RECORDING;
let folder;

before(() => {
  folder = mkdtempSync(join(tmpdir(), "mcap-"));
});
after(() => rmSync(folder, { recursive: true }));

/// What navctl makes of a recording.
function made(command) {
  const target = join(folder, `${command}.mcap`);
  execFileSync(process.env.NAVCTL, ["recording", command, golden, target]);
  return readFileSync(target);
}

/// The records of a file, or of a part of it, and whether its end was there.
function streamed(bytes) {
  const reader = new McapStreamReader({ decompressHandlers });
  const records = [];
  reader.append(new Uint8Array(bytes));
  for (let record; (record = reader.nextRecord()); ) {
    records.push(record);
  }
  return { records, isWhole: reader.done() };
}

function messages(records) {
  return records
    .filter((record) => record.type === "Message")
    .map((record) => [record.channelId, record.logTime, Buffer.from(record.data).toString("hex")]);
}

/// The same through the indexes.
async function indexed(bytes) {
  const readable = {
    size: async () => BigInt(bytes.length),
    read: async (offset, length) =>
      new Uint8Array(bytes.subarray(Number(offset), Number(offset + length))),
  };
  const reader = await McapIndexedReader.Initialize({ readable, decompressHandlers });
  const found = [];
  for await (const message of reader.readMessages()) {
    found.push(message);
  }
  return { reader, found };
}

test("a whole recording is read to its end", () => {
  const { records, isWhole } = streamed(readFileSync(golden));
  assert.equal(isWhole, true);
  assert.equal(messages(records).length, 4);
  const topics = records.filter((record) => record.type === "Channel").map((record) => record.topic);
  assert.deepEqual([...new Set(topics)], ["/link", "/link/1/to_service", "/link/1/to_application"]);
  const statistics = records.find((record) => record.type === "Statistics");
  assert.equal(statistics.messageCount, 4n);
});

test("a recording that is cut anywhere gives every complete message", () => {
  const bytes = readFileSync(golden);
  const whole = messages(streamed(bytes).records);
  let last = 0;
  for (let length = 8; length < bytes.length; ++length) {
    const { records, isWhole } = streamed(bytes.subarray(0, length));
    const found = messages(records);
    assert.equal(isWhole, false, `${length} bytes`);
    assert.deepEqual(found, whole.slice(0, found.length));
    assert.ok(found.length >= last);
    last = found.length;
  }
  assert.equal(last, whole.length);
});

test("a compressed recording is found by its indexes", async () => {
  const bytes = made("compress");
  const { reader, found } = await indexed(bytes);
  assert.equal(reader.chunkIndexes.length, 1);
  assert.equal(reader.chunkIndexes[0].compression, "zstd");
  const expected = messages(streamed(readFileSync(golden)).records);
  assert.deepEqual(
    found.map((message) => [
      message.channelId,
      message.logTime,
      Buffer.from(message.data).toString("hex"),
    ]),
    expected,
  );
  assert.deepEqual(messages(streamed(bytes).records), expected);
});

test("a decoded recording has its operations in JSON with a schema", () => {
  const { records, isWhole } = streamed(made("decode"));
  assert.equal(isWhole, true);
  const channel = records.find((record) => record.topic === "/operations/x");
  assert.equal(channel.messageEncoding, "json");
  const schema = records.find((record) => record.type === "Schema" && record.id === channel.schemaId);
  assert.equal(schema.name, "kestrove.Operation");
  JSON.parse(Buffer.from(schema.data).toString());
  const message = records.find(
    (record) => record.type === "Message" && record.channelId === channel.id,
  );
  assert.deepEqual(JSON.parse(Buffer.from(message.data).toString()), {
    client: 1,
    arguments: [],
    reply: 1,
    seconds: 0.000001,
  });
});
