// The server's process with its pipes as they are, for what no well-behaved client sends.
import {spawn} from 'node:child_process';
import {readdirSync, readFileSync} from 'node:fs';
import {createInterface} from 'node:readline';

export const PROGRAM = process.env.VELMORA_PROGRAM;

const META = {
  'io.modelcontextprotocol/protocolVersion': '2026-07-28',
  'io.modelcontextprotocol/clientCapabilities': {},
};

export function call(id, name, args) {
  const params = {name, arguments: args, _meta: META};
  return JSON.stringify({jsonrpc: '2.0', id, method: 'tools/call', params}) + '\n';
}

export class Pipes {
  constructor(test, repository) {
    test.after(() => this.process.kill());
    this.process =
        spawn(PROGRAM, ['mcp', '--repo', repository], {stdio: ['pipe', 'pipe', 'inherit']});
    this.messages = [];
    this.waiting = [];
    createInterface({input: this.process.stdout}).on('line', (line) => {
      this.messages.push(JSON.parse(line));  // throws at anything but messages
      this.waiting = this.waiting.filter((look) => !look());
    });
    this.exit = new Promise((resolve) => this.process.on('close', (code) => resolve(code)));
  }

  write(bytes) {
    this.process.stdin.write(bytes);
  }

  // The message with this id, when it comes.
  answer(id) {
    return new Promise((resolve) => {
      const look = () => {
        const found = this.messages.find((message) => message.id === id);
        if (found) resolve(found);
        return found !== undefined;
      };
      if (!look()) this.waiting.push(look);
    });
  }

  end() {
    this.process.stdin.end();
    return this.exit;
  }
}

function contents(file) {
  try {
    return readFileSync(file, 'utf8');
  } catch {
    return '';  // it ended meanwhile
  }
}

// The processes that a process started and theirs.
export function children(pid) {
  const found = [];
  for (const task of readdirSync(`/proc/${pid}/task`)) {
    for (const child of contents(`/proc/${pid}/task/${task}/children`).split(' ').filter(Boolean)) {
      found.push(child, ...children(child));
    }
  }
  return found;
}

export const lives = (pid) => /^ [^Z]/.test(contents(`/proc/${pid}/stat`).replace(/.*\)/, ''));
