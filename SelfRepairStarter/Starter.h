// The start of the helper tool's repair with root's rights, safe against a user who changes things meanwhile.
//
// The tool lies in a folder of the user's and is the user's: its repair is what makes it root's. Whatever is
// learned about such a file may be wrong a moment later. Its name can be given to another file; its bytes can
// be changed through a descriptor or a mapping that was opened before, also after the file was given to root;
// an opening that the kernel allowed before may even complete after every check was made, and outlive the
// repair that makes the file set-user-id. So no byte of that file is ever run:
//
// - The template in the installed bundle, which root alone can change, is read once into this process's
//   memory.
// - The user's file is compared with it. That decides whether to refuse: it protects from nothing else, and
//   a user who wins that race gains nothing.
// - A new file is made in the tool's folder, with O_EXCL, from the template's bytes in memory. It is root's
//   from the moment it exists and nobody else ever had a permission to write to it, so there is no earlier
//   descriptor, mapping or pending opening of it, and a lease on it is not to be had by another user.
// - That file takes the tool's name, and its descriptor (never a name) is executed. It then repairs its own
//   file: the new one, through /proc/self/exe.
//
// The user can still rename, remove or link that file, as the folder is his: then the starter or the tool
// refuses, and what is left is a file with the template's bytes. In the folder root renames and removes only
// what the user may rename and remove himself.
#pragma once

/// Does what the command line "TOOL --self-repair" asks for: checks the tool, puts the fresh one in its place
/// and becomes it, with an empty environment. $PKEXEC_UID says whose folder it must lie in. Comes back only
/// when nothing was started, with the exit status; standard error then says why.
int runStarter(int argc, char** argv, const char* templatePath);
