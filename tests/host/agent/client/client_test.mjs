// The agent's server through the clients that agents are built with, over pipes, in both eras.
import {Client} from '@modelcontextprotocol/client';
import {StdioClientTransport} from '@modelcontextprotocol/client/stdio';
import {Client as EarlierClient} from '@modelcontextprotocol/sdk/client/index.js';
import {StdioClientTransport as EarlierTransport} from '@modelcontextprotocol/sdk/client/stdio.js';
import assert from 'node:assert/strict';
import {mkdirSync, mkdtempSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {after, test} from 'node:test';

import {call, children, lives, Pipes, PROGRAM} from './pipes.mjs';

const NAME = {name: 'velmora-test', version: '1'};
const TOOLS = ['explore', 'find', 'outline', 'show', 'status'];
const LIMIT = {timeout: 120_000};

const moment = () => new Promise((resolve) => setImmediate(resolve));

const folders = [];
after(() => folders.forEach((folder) => rmSync(folder, {recursive: true, force: true})));

// A folder without an index; more files keep the making of one busy for a while.
function repository(more = 0) {
  const folder = mkdtempSync(join(tmpdir(), 'velmora-agent-'));
  folders.push(folder);
  mkdirSync(join(folder, 'src'));
  writeFileSync(
      join(folder, 'src', 'retry.py'),
      'class Retrier:\n    """Asks again."""\n\n    def delay(self, attempt):\n' +
          '        """How long to wait before the next attempt."""\n        return 2**attempt\n',
  );
  writeFileSync(
      join(folder, 'src', 'store.ts'),
      'export function openStore(path: string) {\n  return path;\n}\n');
  for (let i = 0; i < more; ++i) {
    const functions =
        Array.from({length: 50}, (_, j) => `def task_${i}_${j}(value):\n    return value + ${j}\n`);
    writeFileSync(join(folder, 'src', `task_${i}.py`), functions.join('\n'));
  }
  return folder;
}

const modern = (mode) => ({
  client: () => new Client(NAME, {versionNegotiation: {mode}}),
  Transport: StdioClientTransport,
});
const CLIENTS = {
  'pinned to the modern revision': {...modern({pin: '2026-07-28'}), version: '2026-07-28'},
  'that finds the era out': {...modern('auto'), version: '2026-07-28'},
  'with initialize': {...modern('legacy'), version: '2025-11-25'},
  'of the earlier revisions': {client: () => new EarlierClient(NAME), Transport: EarlierTransport},
};

async function connect(t, {client: make, Transport}, folder) {
  const client = make();
  const transport = new Transport({command: PROGRAM, args: ['mcp', '--repo', folder]});
  t.after(() => client.close());
  await client.connect(transport);
  return {client, transport};
}

for (const [name, kind] of Object.entries(CLIENTS)) {
  test(`A client ${name} lists and calls every tool`, LIMIT, async (t) => {
    const folder = repository();
    const {client, transport} = await connect(t, kind, folder);
    assert.equal(client.getServerVersion().name, 'velmora');
    if (kind.version) assert.equal(client.getNegotiatedProtocolVersion(), kind.version);

    const {tools} = await client.listTools();
    assert.deepEqual(tools.map((tool) => tool.name).sort(), TOOLS);
    for (const tool of tools) assert.match(tool.description, /^(Ranked|Exhaustive)\b/, tool.name);

    const ask = async (tool, args, fails = false) => {
      const result = await client.callTool({name: tool, arguments: args});
      assert.equal(
          result.isError ?? false, fails,
          `${tool} ${JSON.stringify(args)}: ${result.content[0].text}`);
      return result.content.map((part) => part.text).join('');
    };
    assert.match(
        await ask('explore', {question: 'how long to wait before an attempt'}),
        /src\/retry\.py[^]*delay/);
    assert.match(await ask('find', {name: 'open*'}), /src\/store\.ts[^]*openStore/);
    assert.match(await ask('show', {what: 'Retrier.delay'}), /return 2\*\*attempt/);
    assert.match(await ask('show', {what: 'src/store.ts:2'}), /return path;/);
    assert.match(await ask('outline', {path: 'src/retry.py'}), /Retrier[^]*delay/);
    assert.match(await ask('status', {}), /Files: 2/);
    // The index is the one of the files as they are.
    writeFileSync(join(folder, 'src', 'late.py'), 'def came_later():\n    pass\n');
    assert.match(await ask('find', {name: 'came_later'}), /src\/late\.py/);

    // What an agent does wrong it is told; what a client does wrong is an error of the protocol.
    assert.match(await ask('explore', {}, true), /question/);
    assert.match(await ask('outline', {path: '/etc'}, true), /outside/);
    assert.match(await ask('explore', {question: 'x', repo: '/etc'}, true), new RegExp(folder));
    await assert.rejects(client.callTool({name: 'no_such_tool', arguments: {}}), {code: -32602});

    const {pid} = transport;
    await client.close();
    assert.equal(lives(pid), false);
  });
}

for (const era of ['that finds the era out', 'of the earlier revisions']) {
  test(`A client ${era} cancels a call and is told of progress`, LIMIT, async (t) => {
    const {client} = await connect(t, CLIENTS[era], repository(1000));
    const question = {name: 'explore', arguments: {question: 'value of a task'}};
    const options = (more) => (client instanceof Client ? [more] : [undefined, more]);
    const abort = new AbortController();
    const cancelled = client.callTool(question, ...options({signal: abort.signal}));
    abort.abort();
    await assert.rejects(cancelled);

    const told = [];
    await client.callTool(question, ...options({onprogress: ({progress}) => told.push(progress)}));
    assert.ok(told.length > 0, 'no progress while the index was made');
    told.reduce((last, next) => assert.ok(last < next, `${told}`) ?? next);
    await client.close();
  });
}

test('A cancelled call is not answered, and blocks no other', LIMIT, async (t) => {
  const pipes = new Pipes(t, repository(200));
  const cancel = {jsonrpc: '2.0', method: 'notifications/cancelled', params: {requestId: 'slow'}};
  pipes.write(
      call('slow', 'explore', {question: 'value'}) + JSON.stringify(cancel) + '\n' +
      call(2, 'status', {}));
  assert.ok((await pipes.answer(2)).result);
  assert.equal(await pipes.end(), 0);
  assert.deepEqual(pipes.messages.map(({id}) => id), [2]);
});

test('Rubbish between messages gets an error each', LIMIT, async (t) => {
  const pipes = new Pipes(t, repository());
  const rubbish = {
    'no JSON': 'rubbish',
    'half a message': '{"jsonrpc": "2.0", "id": 1',
    'no UTF-8': Buffer.from([0xff, 0xfe, 0x00, 0x80]),
    'nested without end': '['.repeat(1_000_000),
    'longer than 16 MB': `{"jsonrpc": "2.0", "id": 1, "method": "${'x'.repeat(17_000_000)}"}`,
    'no message': '[]',
    'no object': '7',
    'without a method': '{"jsonrpc": "2.0", "id": 7}',
  };
  let last = 100;
  for (const [what, bytes] of Object.entries(rubbish)) {
    const before = pipes.messages.length;
    pipes.write(bytes);
    pipes.write('\n' + call(++last, 'find', {name: 'delay'}));
    assert.match((await pipes.answer(last)).result.content[0].text, /src\/retry\.py/, what);
    const errors = pipes.messages.slice(before).filter((message) => message.error);
    assert.equal(errors.length, 1, what);
    assert.ok(
        [-32700, -32600].includes(errors[0].error.code), `${what}: ${JSON.stringify(errors[0])}`);
  }
  pipes.write('\n\n');  // no message at all
  assert.equal(await pipes.end(), 0);
});

test('The end of input ends it while it works, and leaves no process behind', LIMIT, async (t) => {
  const pipes = new Pipes(t, repository(1000));
  pipes.write(call(1, 'explore', {question: 'value'}));
  let started = [];
  while (started.length === 0) {
    await moment();
    started = children(pipes.process.pid);
  }
  assert.equal(await pipes.end(), 0);
  while (started.some(lives)) await moment();  // they see it end
});
