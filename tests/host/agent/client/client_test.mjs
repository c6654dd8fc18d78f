// The agent's server through the clients that agents are built with, over pipes, in both eras.
import {Client} from '@modelcontextprotocol/client';
import {StdioClientTransport} from '@modelcontextprotocol/client/stdio';
import {Client as EarlierClient} from '@modelcontextprotocol/sdk/client/index.js';
import {StdioClientTransport as EarlierTransport} from '@modelcontextprotocol/sdk/client/stdio.js';
import assert from 'node:assert/strict';
import {mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {after, test} from 'node:test';

const PROGRAM = process.env.VELMORA_PROGRAM;
const NAME = {name: 'velmora-test', version: '1'};
const TOOLS = ['explore', 'find', 'outline', 'show', 'status'];
const LIMIT = {timeout: 120_000};

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

function lives(pid) {
  try {
    return /^ [^Z]/.test(readFileSync(`/proc/${pid}/stat`, 'utf8').replace(/.*\)/, ''));
  } catch {
    return false;
  }
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
