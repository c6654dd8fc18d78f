#!/usr/bin/env python3
import random, shutil, sys, tempfile
from collections import Counter
from pathlib import Path
from recall_match import compare
from recall_tags import *
import functools
def main():
    program, only, *trees = sys.argv[1:]
    for tree in trees:
        with tempfile.TemporaryDirectory() as scratch:
            copy = Path(scratch)/"tree"
            shutil.copytree(tree, copy, symlinks=True, ignore=shutil.ignore_patterns(".velmora"))
            found, files, said = read_index(program, str(copy))
            print(said)
            @functools.cache
            def lines_of(path):
                return (copy/path).read_text(errors="replace").split("\n")
            for language in sorted(files):
                if language not in LANGUAGES or (only != "all" and language not in only.split(",")): continue
                mine=[f for f in files[language] if not f.endswith(OTHER_FORMS)]
                readers=[("ctags", read_ctags(str(copy), language, mine), mine)]
                if language=="python":
                    t,r=read_ast(copy,mine); readers.append(("ast",t,r))
                for name,tags,read in readers:
                    s=set(read)
                    c=compare(tags,[x for x in found.get(language,[]) if x.path in s],lines_of,language)
                    kind=Counter(t.kind for t in tags); fk=Counter(t.kind for t,_ in c.pairs)
                    print("=====",language,name,len(read),"files",len(tags),"tags", len(c.pairs),"both",Counter(w for _,w in c.missed), "alone",Counter(o.kind for o in c.alone), "locals listed",len(c.locals), "other kind", Counter((a.kind,b.kind) for a,b in c.pairs if a.group!=b.group))
                    wanted=c.wanted()
                    print({k:(n,fk[k]) for k,n in kind.items()}, f"{100*len(c.pairs)/max(1,wanted):.2f} %")
                    r=random.Random(1)
                    for w in sorted({w for _,w in c.missed}):
                        l=[t for t,x in c.missed if x==w]
                        for t in r.sample(l,min(len(l),14 if w not in("local","unnamed","part","ahead","elsewhere","block") else 3)): print("  -",w,f"{t.path}:{t.line} {t.kind} {t.name} | {lines_of(t.path)[t.line-1].strip()[:100]}")
                    for w in sorted({w.kind for w in c.alone}):
                        l=[t for t in c.alone if t.kind==w]
                        if w in("constant",): continue
                        for t in r.sample(l,min(len(l),5)): print("  +",w,f"{t.path}:{t.line} {t.kind} {t.name} | {lines_of(t.path)[t.line-1].strip()[:100]}")
                    for t in r.sample(c.locals,min(6,len(c.locals))): print("  L",f"{t.path}:{t.line} {t.kind} {t.name} | {lines_of(t.path)[t.line-1].strip()[:100]}")
main()
