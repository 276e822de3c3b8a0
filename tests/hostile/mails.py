"""Messages that break the rules of mail."""
from case import ANY, Case

HEAD = "From: a@b.example\r\nSubject: {}\r\nMIME-Version: 1.0\r\nContent-Type: {}\r\n\r\n"


def cases():
    def mail(subject, kind, body):
        return HEAD.format(subject, kind).encode() + body

    deep = b"".join(b"--b%d\r\nContent-Type: multipart/mixed; boundary=b%d\r\n\r\n" % (i, i + 1) for i in range(20_000))
    yield Case("deep.eml", mail("Poupes russes", "multipart/mixed; boundary=b0", deep), "Poupes russes")
    same = b"--b\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n" * 50_000
    yield Case("one boundary.eml", mail("Ronde des parts", "multipart/mixed; boundary=b", same), "Ronde des parts")
    messages = b"Content-Type: message/rfc822\r\n\r\n" * 50_000
    yield Case("message in message.eml", mail("Transfert en boucle", "message/rfc822", messages), "Transfert en boucle")
    yield Case("many parts.eml", mail("Beaucoup de parts", "multipart/mixed; boundary=b", b"--b\r\n\r\nx\r\n" * 300_000), "Beaucoup de parts")
    yield Case("no boundary.eml", mail("Sans limite", "multipart/mixed", b"--\r\n\r\nbonjour\r\n"), "Sans limite")
    yield Case("empty boundary.eml", mail("Limite vide", 'multipart/mixed; boundary=""', b"--\r\n\r\nbonjour\r\n--\r\n"), "Limite vide")
    yield Case("long header.eml", b"Subject: " + b"a" * 6_000_000 + b"\r\n\r\nbonjour", ANY)
    yield Case("folded header.eml", b"Subject: Long" + b"\r\n x" * 2_000_000 + b"\r\n\r\nbonjour", ANY)
    yield Case("many headers.eml", b"X: y\r\n" * 1_000_000 + b"Subject: Enfin le sujet\r\n\r\nbonjour", ANY)
    yield Case("broken words.eml", mail("=?utf-8?B?////?= =?utf-8?Q?=ZZ=?= =?x?y?z?= Fin de mots", "text/plain", b"x"), ANY)
    yield Case("many words.eml", mail("=?utf-8?Q?a?= " * 300_000, "text/plain", b"x"), ANY)
    yield Case("unknown charset.eml", mail("Jeu inconnu", "text/plain; charset=klingon", b"\xff\xfe\x00bonjour"), "Jeu inconnu")
    yield Case("parameters.eml", mail("Trop de champs", "text/plain" + "; a*0=b" * 200_000, b"x"), ANY)
    yield Case("base64.eml", mail("Codage faux", "text/plain\r\nContent-Transfer-Encoding: base64", b"!!!=" * 1_000_000), "Codage faux")
    yield Case("zeros.eml", bytes(1_000_000), ANY)
    yield Case("newlines.eml", b"\r\n" * 5_000_000, ANY)
    yield Case("brackets.eml", b"From: " + b"(" * 2_000_000 + b"\r\nSubject: Parenthese ouverte\r\n\r\n", ANY)
